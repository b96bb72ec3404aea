#include "Hosts/PCManFMQt/QtTarget.h"

#include <cmath>

namespace wevora::pcmanfmqt {
namespace {

/// An image that shares the bitmap's pixels and must not outlive it.
QImage sharing(const platform::Bitmap& bitmap) {
  return {reinterpret_cast<const uchar*>(bitmap.pixels().data()), static_cast<int>(bitmap.width()),
          static_cast<int>(bitmap.height()), static_cast<int>(bitmap.bytesPerRow()),
          QImage::Format_ARGB32_Premultiplied};
}

bool isWhole(const platform::Rect& source, const platform::Bitmap& bitmap) {
  return source.x == 0 && source.y == 0 && source.width == static_cast<double>(bitmap.width()) &&
         source.height == static_cast<double>(bitmap.height());
}

/// Rounds to whole device pixels, so that an unscaled image stays sharp.
QRectF onPixels(const QRectF& place, double scale) {
  const auto snapped = [scale](double value) { return std::round(value * scale) / scale; };
  return {snapped(place.x()), snapped(place.y()), snapped(place.width()), snapped(place.height())};
}

}  // namespace

QImage imageOf(const platform::Bitmap& bitmap) {
  return sharing(bitmap).copy();
}

const QImage& ImageCache::of(const platform::Bitmap& bitmap, const Key& key) {
  if (const auto found = entries_.find(key); found != entries_.end()) return found->second;
  if (entries_.size() >= kMaxEntries) entries_.clear();
  const QImage all = imageOf(bitmap);
  const QImage scaled =
      all.scaled(key.width, key.height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  return entries_[key] = key.upsideDown ? scaled.mirrored() : scaled;
}

double QtTarget::deviceScale() const {
  return painter_.device()->devicePixelRatioF();
}

void QtTarget::drawBitmap(const platform::BitmapRef& bitmap,
                          const platform::BitmapDrawing& drawing) {
  const auto& to = drawing.destination;
  const QRectF place =
      onPixels({origin_.x() + to.x, origin_.y() + to.y, to.width, to.height}, deviceScale());
  if (place.isEmpty()) return;
  painter_.save();
  painter_.setOpacity(painter_.opacity() * drawing.fraction);
  painter_.setCompositionMode(drawing.operation == platform::CompositingOperation::Copy
                                  ? QPainter::CompositionMode_Source
                                  : QPainter::CompositionMode_SourceOver);
  drawPart(*bitmap, drawing, place);
  painter_.restore();
}

void QtTarget::drawPart(const platform::Bitmap& bitmap, const platform::BitmapDrawing& drawing,
                        const QRectF& place) {
  if (isWhole(drawing.source, bitmap)) {
    const auto pixels = [this](double points) {
      return static_cast<int>(std::lround(points * deviceScale()));
    };
    painter_.drawImage(place, images_.of(bitmap, {.bitmap = bitmap.identity(),
                                                  .width = pixels(place.width()),
                                                  .height = pixels(place.height()),
                                                  .upsideDown = drawing.upsideDown}));
    return;
  }
  const auto& source = drawing.source;
  QRectF from(source.x, source.y, source.width, source.height);
  if (drawing.upsideDown)
    from.moveTop(static_cast<double>(bitmap.height()) - source.y - source.height);
  painter_.setRenderHint(QPainter::SmoothPixmapTransform);
  painter_.drawImage(place, drawing.upsideDown ? sharing(bitmap).mirrored() : sharing(bitmap),
                     from);
}

}  // namespace wevora::pcmanfmqt
