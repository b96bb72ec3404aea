#pragma once

#include <QImage>
#include <QPainter>
#include <QPointF>
#include <compare>
#include <cstdint>
#include <map>

#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::pcmanfmqt {

/// Bitmaps as they were drawn, at the size in device pixels that they were drawn in.
/// Threads: the main thread. Owns: the pictures. Errors: none.
class ImageCache {
 public:
  /// More than the badges have in the sizes of one session; when they are full, all are made anew.
  static constexpr std::size_t kKept = 128;

  struct Wanted {
    std::uint64_t bitmap = 0;
    int width = 0;   // device pixels
    int height = 0;  // device pixels
    bool upsideDown = false;
    auto operator<=>(const Wanted&) const = default;
  };
  const QImage& of(const platform::Bitmap& bitmap, const Wanted& wanted);

 private:
  std::map<Wanted, QImage> pictures_;
};

/// A picture that nobody keeps; its pixels are a copy.
QImage pictureOf(const platform::Bitmap& bitmap);

/// Draws with a painter of the host's window. y grows downwards.
/// Threads: the main thread. Owns: nothing; painter and pictures outlive it. Errors: none.
class QtTarget : public platform::DrawingTarget {
 public:
  /// The target's origin in the painter's coordinates.
  QtTarget(QPainter& painter, ImageCache& pictures, QPointF origin)
      : painter_(painter), pictures_(pictures), origin_(origin) {}

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
  ImageCache& pictures_;
  const QPointF origin_;
};

}  // namespace wevora::pcmanfmqt
