#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Platform/Graphics/Geometry.h"

namespace wevora::platform {

/// A picture of pixels that never changes once it is made. A pixel is 0xAARRGGBB in the machine's
/// byte order, its colours premultiplied with its alpha; the top row comes first.
/// Threads: any. Owns: its pixels.
/// Errors: making one of no, or of too many pixels answers null.
class Bitmap {
  struct Private {
    explicit Private() = default;
  };

 public:
  /// Neither side may be longer.
  static constexpr std::size_t kLongestSide = 4096;  // pixels

  /// Null unless there are width times height pixels. A colour above its alpha is cut down to it.
  static std::shared_ptr<const Bitmap> make(std::size_t width, std::size_t height,
                                            std::vector<std::uint32_t> pixels);
  Bitmap(Private, std::size_t width, std::size_t height, std::vector<std::uint32_t> pixels);

  std::size_t width() const noexcept { return width_; }    // pixels
  std::size_t height() const noexcept { return height_; }  // pixels
  std::span<const std::uint32_t> pixels() const noexcept { return pixels_; }
  std::size_t bytesPerRow() const noexcept { return width_ * sizeof(std::uint32_t); }
  /// No other bitmap of the process has, had or will have it: what a host keeps for a bitmap (a
  /// texture) can be found by it again.
  std::uint64_t identity() const noexcept { return identity_; }

 private:
  const std::size_t width_;
  const std::size_t height_;
  const std::vector<std::uint32_t> pixels_;
  const std::uint64_t identity_;
};

using BitmapRef = std::shared_ptr<const Bitmap>;

/// One rendering of an image: its pixels, and the points that they stand for (a bitmap of 64 pixels
/// for 32 points is for displays of two pixels a point).
/// Threads: a value. Owns: a share of the bitmap. Errors: none.
struct ImageRep {
  BitmapRef bitmap;
  Size size;
};

}  // namespace wevora::platform
