#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "Platform/Graphics/Bitmap.h"
#include "Platform/Graphics/DrawingTarget.h"
#include "Platform/Graphics/Geometry.h"

namespace wevora::platform {

/// An image of a size in points, with one or more renderings of itself. The one drawn is the
/// smallest that has a pixel for each pixel of the target, or else the largest; of two of as many
/// pixels, the one that is meant for the target's pixels a point.
///
/// Whether a person sees it upright depends on the target: a flipped image is upright in a target
/// whose y grows downwards, an unflipped image in one whose y grows upwards; in the other kind each
/// is upside down.
/// Threads: one at a time. Owns: a share of its bitmaps; copies share them.
/// Errors: none; an image without representations draws nothing.
class Image {
 public:
  /// What draws into the image while its focus is locked.
  using FocusMaker = std::function<std::shared_ptr<DrawingTarget>(const Image&)>;

  Image() = default;
  explicit Image(Size size) : size_(size) {}
  /// The image of a host that has no pixels to show for it (an icon in a frame that is being put
  /// together): what is drawn into it goes to a target of the host.
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
  /// For a rectangle of so many device pixels, on a display of so many pixels a point; null without
  /// representations.
  const ImageRep* bestRepresentation(Size pixels, double scale = 1.0) const noexcept;

  /// Draws into the current target. An empty source is the whole image; any other is in the image's
  /// points, y growing as `isFlipped` says.
  // -drawInRect:fromRect:operation:fraction:
  void drawInRect(const Rect& rect, const Rect& fromRect, CompositingOperation operation,
                  double fraction) const;

  /// The pixels that the image has for such a rectangle in the current target (one pixel a point
  /// without one); null without representations.
  // -CGImageForProposedRect:context:hints:
  BitmapRef CGImageForProposedRect(const Rect& proposedRect) const;

  /// Makes the image itself the current target until `unlockFocus`. Its coordinates are the
  /// image's points, y growing as `isFlipped` says.
  // -lockFocus
  void lockFocus();
  /// What was drawn is in the image, as its only representation.
  // -unlockFocus
  void unlockFocus();

 private:
  class Canvas;
  double finestScale() const noexcept;

  Size size_;
  bool flipped_ = false;
  std::vector<ImageRep> representations_;
  FocusMaker makeFocus_;
  std::vector<std::shared_ptr<DrawingTarget>> focus_;  // the focus locked last is the last
};

using ImageRef = std::shared_ptr<Image>;

}  // namespace wevora::platform
