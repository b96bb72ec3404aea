#pragma once

#include "Platform/Graphics/Bitmap.h"
#include "Platform/Graphics/Geometry.h"

namespace wevora::platform {

/// How source pixels are combined with the destination; the values are fixed.
enum class CompositingOperation : int {
  Copy = 1,        ///< replaces the destination, transparent pixels included
  SourceOver = 2,  ///< blends the source over the destination by the source's alpha
};

/// The parameters of one bitmap drawing.
struct BitmapDrawing {
  Rect source;  ///< pixels of the bitmap, from its upper left corner; never empty
  /// In the target's coordinates; never empty. If the target `isFlipped`, y is the upper edge and
  /// grows downwards; otherwise y is the lower edge and grows upwards.
  Rect destination;
  bool upsideDown = false;  ///< whether the bitmap's top row appears at the bottom of the screen
  CompositingOperation operation = CompositingOperation::SourceOver;
  double fraction = 1.0;  ///< opacity, 0.0 to 1.0
};

/// A surface that images are drawn into: a bitmap, a window, a frame that a host is composing.
/// Hosts implement their own. Thread-safety: one thread at a time. Errors: a drawing that fails has
/// no effect.
class DrawingTarget {
 public:
  virtual ~DrawingTarget() = default;

  /// Device pixels per point.
  virtual double deviceScale() const = 0;
  /// Whether y grows downwards.
  virtual bool isFlipped() const = 0;
  virtual void drawBitmap(const BitmapRef& bitmap, const BitmapDrawing& drawing) = 0;
  /// `save` pushes the target's state (clip, transformation) onto a stack, `restore` pops it.
  virtual void save() = 0;
  virtual void restore() = 0;
};

/// Draws the whole bitmap: upright where y grows upwards, upside down where it grows downwards.
// CGContextDrawImage
void contextDrawImage(DrawingTarget& context, const Rect& rect, const BitmapRef& image);

}  // namespace wevora::platform
