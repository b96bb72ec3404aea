#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Platform/Graphics/Geometry.h"

namespace wevora::platform {

/// An immutable bitmap. A pixel is 0xAARRGGBB in the machine's byte order with premultiplied alpha;
/// the top row comes first.
/// Thread-safety: any thread.
class Bitmap {
  struct Private {
    explicit Private() = default;
  };

 public:
  /// Maximum width and height.
  static constexpr std::size_t kLongestSide = 4096;  // pixels

  /// Null if a side is 0 or too long, or if there are not width * height pixels. Colour channels
  /// above their alpha are clamped to it.
  static std::shared_ptr<const Bitmap> make(std::size_t width, std::size_t height,
                                            std::vector<std::uint32_t> pixels);
  Bitmap(Private, std::size_t width, std::size_t height, std::vector<std::uint32_t> pixels);

  std::size_t width() const noexcept { return width_; }    // pixels
  std::size_t height() const noexcept { return height_; }  // pixels
  std::span<const std::uint32_t> pixels() const noexcept { return pixels_; }
  std::size_t bytesPerRow() const noexcept { return width_ * sizeof(std::uint32_t); }
  /// Unique for the lifetime of the process, never reused: the cache key under which a host stores
  /// what it derives from a bitmap (a texture).
  std::uint64_t identity() const noexcept { return identity_; }

 private:
  const std::size_t width_;
  const std::size_t height_;
  const std::vector<std::uint32_t> pixels_;
  const std::uint64_t identity_;
};

using BitmapRef = std::shared_ptr<const Bitmap>;

/// One representation of an image: a bitmap and its size in points. A bitmap of 64 pixels for 32
/// points is meant for displays with two pixels per point.
struct ImageRep {
  BitmapRef bitmap;
  Size size;
};

}  // namespace wevora::platform
