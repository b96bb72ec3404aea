#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "Platform/Graphics/Bitmap.h"
#include "Platform/Graphics/DrawingTarget.h"
#include "Platform/Graphics/Geometry.h"

namespace wevora::platform {

/// An image of a size in points, with one or more representations. It draws the smallest
/// representation that has a pixel for each pixel of the target, or else the largest one. Of two
/// with equally many pixels, it draws the one whose pixels per point are closest to the target's.
///
/// Orientation: a flipped image is upright in a target whose y grows downwards, an unflipped image
/// in a target whose y grows upwards; otherwise the image is upside down.
/// Thread-safety: one thread at a time.
/// Ownership: copies share their bitmaps.
class Image {
 public:
  /// Makes the target of the drawing that happens while the image's focus is locked.
  using FocusMaker = std::function<std::shared_ptr<DrawingTarget>(const Image&)>;

  Image() = default;
  explicit Image(Size size) : size_(size) {}
  /// A host's image without pixels of its own (an icon in a frame that is being composed): drawing
  /// into it goes to a target of the host.
  Image(Size size, FocusMaker focus) : size_(size), makeFocus_(std::move(focus)) {}
  ~Image();
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  /// The focus is not copied.
  std::shared_ptr<Image> copy() const;

  // -size
  Size size() const noexcept { return size_; }
  // -setSize:
  void setSize(Size size) noexcept { size_ = size; }
  // -isFlipped
  bool isFlipped() const noexcept { return flipped_; }
  // -setFlipped:
  void setFlipped(bool flipped) noexcept { flipped_ = flipped; }

  // -representations
  const std::vector<ImageRep>& representations() const noexcept { return representations_; }
  // -addRepresentations:
  void addRepresentations(std::span<const ImageRep> representations);
  /// For a rectangle of `pixels` device pixels on a display of `scale` pixels per point; null
  /// without representations.
  const ImageRep* bestRepresentation(Size pixels, double scale = 1.0) const noexcept;

  /// Draws into the current target. An empty source means the whole image; any other is in the
  /// image's points, with y growing downwards if the image `isFlipped`.
  // -drawInRect:fromRect:operation:fraction:
  void drawInRect(const Rect& rect, const Rect& fromRect, CompositingOperation operation,
                  double fraction) const;

  /// The best bitmap for a rectangle of this size in the current target (one pixel per point
  /// without a target); null without representations.
  // -CGImageForProposedRect:context:hints:
  BitmapRef CGImageForProposedRect(const Rect& proposedRect) const;

  /// Makes the image itself the current target until `unlockFocus`. Its coordinates are the image's
  /// points, with y growing downwards if the image `isFlipped`.
  // -lockFocus
  void lockFocus();
  /// Replaces the image's representations with what was drawn.
  // -unlockFocus
  void unlockFocus();

 private:
  class Canvas;
  double finestScale() const noexcept;

  Size size_;
  bool flipped_ = false;
  std::vector<ImageRep> representations_;
  FocusMaker makeFocus_;
  std::vector<std::shared_ptr<DrawingTarget>> focus_;  // a stack, the innermost focus last
};

using ImageRef = std::shared_ptr<Image>;

}  // namespace wevora::platform
