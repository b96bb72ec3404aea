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

/// The parameters of a bitmap context.
struct BitmapContextFormat {
  std::size_t width = 0;   ///< pixels
  std::size_t height = 0;  ///< pixels
  std::size_t bitsPerComponent = 8;
  std::size_t bytesPerRow = 0;  ///< 0: chosen by the system
  ColorSpace colorSpace = ColorSpace::GenericRGB;
  std::uint32_t bitmapInfo = kBitmapInfoARGB32Premultiplied;
  double scale = 1.0;    ///< pixels per point
  bool flipped = false;  ///< whether y grows downwards
};

/// A drawing target in memory, initially transparent.
/// Thread-safety: one thread at a time.
class BitmapContext : public DrawingTarget {
  struct Private {
    explicit Private() = default;
  };

 public:
  /// Null if the pixel format is not that of Bitmap, or if the size is 0 or too large.
  // CGBitmapContextCreate
  static std::shared_ptr<BitmapContext> create(const BitmapContextFormat& format);
  BitmapContext(Private, const BitmapContextFormat& format);
  ~BitmapContext() override;
  BitmapContext(const BitmapContext&) = delete;
  BitmapContext& operator=(const BitmapContext&) = delete;

  /// A copy of the current pixels.
  // CGBitmapContextCreateImage
  BitmapRef createImage() const;
  /// Fills the whole bitmap with a premultiplied pixel (0xAARRGGBB).
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
