#include "Platform/Graphics/BitmapContext.h"

#include <bit>
#include <cairo.h>
#include <cstring>
#include <utility>
#include <vector>

#include "Platform/Graphics/CairoTarget.h"

namespace wevora::platform {

static_assert(std::endian::native == std::endian::little,
              "cairo's pixels are in the machine's byte order; the stated format is little-endian");

/// A cairo image surface and a context on it whose units are points.
/// Errors: drawing on a surface that could not be created does nothing.
class BitmapContext::Surface {
 public:
  explicit Surface(const BitmapContextFormat& format)
      : surface_(::cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(format.width),
                                              static_cast<int>(format.height))),
        context_(::cairo_create(surface_)) {
    ::cairo_scale(context_, format.scale, format.scale);
  }
  ~Surface() {
    ::cairo_destroy(context_);
    ::cairo_surface_destroy(surface_);
  }
  Surface(const Surface&) = delete;
  Surface& operator=(const Surface&) = delete;

  cairo_t* context() const noexcept { return context_; }
  bool usable() const { return ::cairo_status(context_) == CAIRO_STATUS_SUCCESS; }

  std::vector<std::uint32_t> pixels(std::size_t width, std::size_t height) const {
    ::cairo_surface_flush(surface_);
    std::vector<std::uint32_t> copied(width * height);
    const unsigned char* data = ::cairo_image_surface_get_data(surface_);
    if (data == nullptr) return {};
    const auto stride = static_cast<std::size_t>(::cairo_image_surface_get_stride(surface_));
    for (std::size_t row = 0; row < height; ++row)
      std::memcpy(&copied[row * width], data + row * stride, width * sizeof(std::uint32_t));
    return copied;
  }
  void fill(std::uint32_t pixel) {
    const double alpha = static_cast<double>(pixel >> 24U) / 255;
    const auto channel = [&](unsigned shift) {
      return alpha > 0 ? static_cast<double>((pixel >> shift) & 0xFFU) / 255 / alpha : 0;
    };
    ::cairo_save(context_);
    ::cairo_set_operator(context_, CAIRO_OPERATOR_SOURCE);
    ::cairo_set_source_rgba(context_, channel(16), channel(8), channel(0), alpha);
    ::cairo_paint(context_);
    ::cairo_restore(context_);
  }

 private:
  cairo_surface_t* const surface_;
  cairo_t* const context_;
};

std::shared_ptr<BitmapContext> BitmapContext::create(const BitmapContextFormat& format) {
  if (format.width == 0 || format.height == 0 || format.width > Bitmap::kLongestSide ||
      format.height > Bitmap::kLongestSide)
    return nullptr;
  const bool rgb =
      format.colorSpace != ColorSpace::GenericGray && format.colorSpace != ColorSpace::GenericCMYK;
  if (!rgb || format.bitsPerComponent != 8 || format.bitmapInfo != kBitmapInfoARGB32Premultiplied)
    return nullptr;
  if (format.bytesPerRow != 0 && format.bytesPerRow < format.width * sizeof(std::uint32_t))
    return nullptr;
  if (!(format.scale > 0)) return nullptr;
  auto made = std::make_shared<BitmapContext>(Private(), format);
  return made->surface_->usable() ? made : nullptr;
}

BitmapContext::BitmapContext(Private, const BitmapContextFormat& format)
    : format_(format),
      surface_(std::make_unique<Surface>(format)),
      target_(std::make_unique<CairoTarget>(
          surface_->context(),
          CairoTarget::Space{.deviceScale = format.scale,
                             .flipped = format.flipped,
                             .height = static_cast<double>(format.height) / format.scale})) {}

BitmapContext::~BitmapContext() = default;

BitmapRef BitmapContext::createImage() const {
  return Bitmap::make(format_.width, format_.height,
                      surface_->pixels(format_.width, format_.height));
}

void BitmapContext::fill(std::uint32_t pixel) {
  surface_->fill(pixel);
}

double BitmapContext::deviceScale() const {
  return target_->deviceScale();
}

bool BitmapContext::isFlipped() const {
  return target_->isFlipped();
}

void BitmapContext::drawBitmap(const BitmapRef& bitmap, const BitmapDrawing& drawing) {
  target_->drawBitmap(bitmap, drawing);
}

void BitmapContext::save() {
  target_->save();
}

void BitmapContext::restore() {
  target_->restore();
}

}  // namespace wevora::platform
