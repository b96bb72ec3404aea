#pragma once

#include <QImage>
#include <QPainter>
#include <QPointF>
#include <compare>
#include <cstdint>
#include <map>

#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::pcmanfmqt {

/// Caches drawn bitmaps as images scaled to device pixels.
/// Thread-safety: main thread only.
class ImageCache {
 public:
  /// More entries than the badges need in one session. Eviction: a full cache is cleared.
  static constexpr std::size_t kMaxEntries = 128;

  struct Key {
    std::uint64_t bitmap = 0;
    int width = 0;   // device pixels
    int height = 0;  // device pixels
    bool upsideDown = false;
    auto operator<=>(const Key&) const = default;
  };
  /// The image of a bitmap for a key with the bitmap's identity. Valid until the next call.
  const QImage& of(const platform::Bitmap& bitmap, const Key& key);

 private:
  std::map<Key, QImage> entries_;
};

/// A new image, not cached, with a copy of the bitmap's pixels.
QImage imageOf(const platform::Bitmap& bitmap);

/// Draws with a painter of the host's window. y grows downwards.
/// Thread-safety: main thread only.
/// Ownership: painter and image cache must outlive it.
class QtTarget : public platform::DrawingTarget {
 public:
  /// The target's origin in the painter's coordinates.
  QtTarget(QPainter& painter, ImageCache& images, QPointF origin)
      : painter_(painter), images_(images), origin_(origin) {}

  double deviceScale() const override;
  bool isFlipped() const override { return true; }
  void drawBitmap(const platform::BitmapRef& bitmap,
                  const platform::BitmapDrawing& drawing) override;
  void save() override { painter_.save(); }
  void restore() override { painter_.restore(); }

 private:
  void drawPart(const platform::Bitmap& bitmap, const platform::BitmapDrawing& drawing,
                const QRectF& place);

  QPainter& painter_;
  ImageCache& images_;
  const QPointF origin_;
};

}  // namespace wevora::pcmanfmqt
