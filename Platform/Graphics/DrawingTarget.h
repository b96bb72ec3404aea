#pragma once

#include "Platform/Graphics/Bitmap.h"
#include "Platform/Graphics/Geometry.h"

namespace wevora::platform {

/// How what is drawn meets what is there; the numbers are fixed.
enum class CompositingOperation : int {
  Copy = 1,        ///< takes the place of what is there
  SourceOver = 2,  ///< covers it as far as it is opaque
};

/// How a bitmap is to be drawn.
/// Threads: a value. Owns: nothing. Errors: none.
struct BitmapDrawing {
  Rect source;  ///< pixels of the bitmap, from its upper left corner; never empty
  /// In the target's own coordinates; never empty. Where `isFlipped`, y is that of its upper edge
  /// and grows downwards; elsewhere y is that of its lower edge and grows upwards.
  Rect destination;
  bool upsideDown = false;  ///< whether a person sees the bitmap's top row at the bottom
  CompositingOperation operation = CompositingOperation::SourceOver;
  double fraction = 1.0;  ///< opacity, 0.0 to 1.0
};

/// What images are drawn into: a bitmap, a window, a frame that a host is putting together. Hosts
/// bring their own.
/// Threads: one at a time. Owns: as its kind. Errors: none; what cannot be drawn is not.
class DrawingTarget {
 public:
  virtual ~DrawingTarget() = default;

  /// Device pixels for each point.
  virtual double deviceScale() const = 0;
  /// Whether y grows downwards.
  virtual bool isFlipped() const = 0;
  virtual void drawBitmap(const BitmapRef& bitmap, const BitmapDrawing& drawing) = 0;
  /// `save` remembers the target's state (its clip, its transformation), `restore` goes back to
  /// the one remembered last.
  virtual void save() = 0;
  virtual void restore() = 0;
};

/// Draws the whole bitmap: upright where y grows upwards, upside down where it grows downwards.
// CGContextDrawImage
void contextDrawImage(DrawingTarget& context, const Rect& rect, const BitmapRef& image);

}  // namespace wevora::platform
