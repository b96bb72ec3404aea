#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Platform/Graphics/Color.h"
#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::platform {

class CairoTarget;

/// Alpha premultiplied and first, 32 bits, little-endian: the pixels of Bitmap.
inline constexpr std::uint32_t kBitmapInfoARGB32Premultiplied = 0x2002;

/// What a bitmap context is to be like.
/// Threads: a value. Owns: nothing. Errors: none.
struct BitmapContextFormat {
  std::size_t width = 0;   ///< pixels
  std::size_t height = 0;  ///< pixels
  std::size_t bitsPerComponent = 8;
  std::size_t bytesPerRow = 0;  ///< 0: chosen by the system
  ColorSpace colorSpace = ColorSpace::GenericRGB;
  std::uint32_t bitmapInfo = kBitmapInfoARGB32Premultiplied;
  double scale = 1.0;    ///< pixels for each point
  bool flipped = false;  ///< whether y grows downwards
};

/// A drawing target in memory, transparent at first.
/// Threads: one at a time. Owns: its pixels. Errors: a format that cannot be had makes none.
class BitmapContext : public DrawingTarget {
  struct Private {
    explicit Private() = default;
  };

 public:
  /// Null for another pixel format than that of Bitmap, and for no, or too many pixels.
  // CGBitmapContextCreate
  static std::shared_ptr<BitmapContext> create(const BitmapContextFormat& format);
  BitmapContext(Private, const BitmapContextFormat& format);
  ~BitmapContext() override;
  BitmapContext(const BitmapContext&) = delete;
  BitmapContext& operator=(const BitmapContext&) = delete;

  /// What has been drawn so far.
  // CGBitmapContextCreateImage
  BitmapRef createImage() const;
  /// Fills all of it with a premultiplied pixel (0xAARRGGBB).
  void fill(std::uint32_t pixel);

  double deviceScale() const override;
  bool isFlipped() const override;
  void drawBitmap(const BitmapRef& bitmap, const BitmapDrawing& drawing) override;
  void save() override;
  void restore() override;

 private:
  class Surface;
  const BitmapContextFormat format_;
  const std::unique_ptr<Surface> surface_;
  const std::unique_ptr<CairoTarget> target_;
};

}  // namespace wevora::platform
