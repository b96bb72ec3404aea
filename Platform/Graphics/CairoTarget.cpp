#include "Platform/Graphics/CairoTarget.h"

#include <cairo.h>

namespace wevora::platform {
namespace {

/// A cairo surface over the bitmap's own pixels, without a copy; cairo only reads it.
class Source {
 public:
  explicit Source(const Bitmap& bitmap)
      : surface_(::cairo_image_surface_create_for_data(
            const_cast<unsigned char*>(
                reinterpret_cast<const unsigned char*>(bitmap.pixels().data())),
            CAIRO_FORMAT_ARGB32, static_cast<int>(bitmap.width()),
            static_cast<int>(bitmap.height()), static_cast<int>(bitmap.bytesPerRow()))) {}
  ~Source() { ::cairo_surface_destroy(surface_); }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  void setOn(cairo_t* context) const {
    ::cairo_set_source_surface(context, surface_, 0, 0);
    cairo_pattern_t* pattern = ::cairo_get_source(context);
    ::cairo_pattern_set_filter(pattern, CAIRO_FILTER_GOOD);
    // Without padding, scaling would fade the bitmap's edges into transparency.
    ::cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
  }

 private:
  cairo_surface_t* const surface_;
};

}  // namespace

CairoTarget::CairoTarget(cairo_t* context, Space space)
    : context_(::cairo_reference(context)), space_(space) {}

CairoTarget::~CairoTarget() {
  ::cairo_destroy(context_);
}

void CairoTarget::drawBitmap(const BitmapRef& bitmap, const BitmapDrawing& drawing) {
  const Rect& from = drawing.source;
  const Rect& to = drawing.destination;
  if (!bitmap || from.empty() || to.empty()) return;
  const double top = space_.flipped ? to.y : space_.height - to.y - to.height;

  ::cairo_save(context_);
  ::cairo_rectangle(context_, to.x, top, to.width, to.height);
  ::cairo_clip(context_);
  if (drawing.operation == CompositingOperation::Copy) {
    ::cairo_set_operator(context_, CAIRO_OPERATOR_CLEAR);
    ::cairo_paint(context_);
  }
  ::cairo_set_operator(context_, CAIRO_OPERATOR_OVER);
  ::cairo_translate(context_, to.x, drawing.upsideDown ? top + to.height : top);
  ::cairo_scale(context_, to.width / from.width,
                (drawing.upsideDown ? -to.height : to.height) / from.height);
  ::cairo_translate(context_, -from.x, -from.y);
  const Source source(*bitmap);
  source.setOn(context_);
  ::cairo_paint_with_alpha(context_, drawing.fraction);
  ::cairo_restore(context_);
}

void CairoTarget::save() {
  ::cairo_save(context_);
}

void CairoTarget::restore() {
  ::cairo_restore(context_);
}

}  // namespace wevora::platform
