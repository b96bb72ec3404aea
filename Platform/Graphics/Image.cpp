#include "Platform/Graphics/Image.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "Platform/Graphics/BitmapContext.h"
#include "Platform/Graphics/GraphicsContext.h"

namespace wevora::platform {
namespace {

double area(const ImageRep& rep) {
  return static_cast<double>(rep.bitmap->width()) * static_cast<double>(rep.bitmap->height());
}

bool covers(const ImageRep& rep, Size pixels) {
  return static_cast<double>(rep.bitmap->width()) >= pixels.width &&
         static_cast<double>(rep.bitmap->height()) >= pixels.height;
}

/// How far the representation's pixels per point are from `scale`.
double misfit(const ImageRep& rep, double scale) {
  if (!(rep.size.width > 0)) return std::numeric_limits<double>::max();
  return std::abs(static_cast<double>(rep.bitmap->width()) / rep.size.width - scale);
}

bool betterFor(Size pixels, double scale, const ImageRep& candidate, const ImageRep& best) {
  const bool candidateCovers = covers(candidate, pixels);
  if (candidateCovers != covers(best, pixels)) return candidateCovers;
  const double difference = area(candidate) - area(best);
  if (difference == 0) return misfit(candidate, scale) < misfit(best, scale);
  return candidateCovers == (difference < 0);
}

Size wholePixels(Size size) {
  // A rounding error of the scale must not select the next larger representation.
  return {std::floor(size.width + 0.01), std::floor(size.height + 0.01)};
}

}  // namespace

Image::~Image() {
  while (!focus_.empty()) {
    GraphicsContext::restoreGraphicsState();
    focus_.pop_back();
  }
}

std::shared_ptr<Image> Image::copy() const {
  auto copied = std::make_shared<Image>(size_);
  copied->flipped_ = flipped_;
  copied->representations_ = representations_;
  return copied;
}

void Image::addRepresentations(std::span<const ImageRep> representations) {
  for (const auto& rep : representations)
    if (rep.bitmap) representations_.push_back(rep);
}

const ImageRep* Image::bestRepresentation(Size pixels, double scale) const noexcept {
  const ImageRep* best = nullptr;
  for (const auto& rep : representations_)
    if (best == nullptr || betterFor(pixels, scale, rep, *best)) best = &rep;
  return best;
}

void Image::drawInRect(const Rect& rect, const Rect& fromRect, CompositingOperation operation,
                       double fraction) const {
  DrawingTarget* target = GraphicsContext::currentContext();
  if (target == nullptr || rect.empty() || !rect.finite() || !fromRect.finite()) return;
  const double scale = target->deviceScale();
  const bool whole = fromRect.empty() || !(size_.width > 0 && size_.height > 0);
  // A part of the image is scaled as if the whole image were drawn around it.
  const double stretchX = whole ? 1 : size_.width / fromRect.width;
  const double stretchY = whole ? 1 : size_.height / fromRect.height;
  const ImageRep* rep = bestRepresentation(
      wholePixels({rect.width * scale * stretchX, rect.height * scale * stretchY}), scale);
  if (rep == nullptr) return;

  const auto width = static_cast<double>(rep->bitmap->width());
  const auto height = static_cast<double>(rep->bitmap->height());
  Rect source{0, 0, width, height};
  if (!whole) {
    const double x = width / size_.width;
    const double y = height / size_.height;
    const double top = flipped_ ? fromRect.y : size_.height - fromRect.y - fromRect.height;
    source = {fromRect.x * x, top * y, fromRect.width * x, fromRect.height * y};
  }
  target->drawBitmap(rep->bitmap, {.source = source,
                                   .destination = rect,
                                   .upsideDown = flipped_ != target->isFlipped(),
                                   .operation = operation,
                                   .fraction = std::clamp(fraction, 0.0, 1.0)});
}

BitmapRef Image::CGImageForProposedRect(const Rect& proposedRect) const {
  const DrawingTarget* target = GraphicsContext::currentContext();
  const double scale = target == nullptr ? 1.0 : target->deviceScale();
  const ImageRep* rep = bestRepresentation(
      wholePixels({proposedRect.width * scale, proposedRect.height * scale}), scale);
  return rep == nullptr ? nullptr : rep->bitmap;
}

/// The focus target of an image without a FocusMaker: a bitmap of the image's size, at the scale of
/// its finest representation.
class Image::Canvas {
 public:
  static std::shared_ptr<BitmapContext> of(const Image& image) {
    const double scale = image.finestScale();
    const auto pixels = [&](double points) {
      const double wanted = std::ceil(points * scale - 0.01);
      return wanted >= 1 && wanted <= static_cast<double>(Bitmap::kLongestSide)
                 ? static_cast<std::size_t>(wanted)
                 : 0U;
    };
    auto canvas = BitmapContext::create({.width = pixels(image.size_.width),
                                         .height = pixels(image.size_.height),
                                         .scale = scale,
                                         .flipped = image.flipped_});
    if (canvas) drawInto(*canvas, image);
    return canvas;
  }

 private:
  static void drawInto(BitmapContext& canvas, const Image& image) {
    const CurrentTarget target(canvas);
    image.drawInRect({0, 0, image.size_.width, image.size_.height}, {}, CompositingOperation::Copy,
                     1.0);
  }
};

double Image::finestScale() const noexcept {
  double finest = 1;
  if (!(size_.width > 0)) return finest;
  for (const auto& rep : representations_)
    finest = std::max(finest, static_cast<double>(rep.bitmap->width()) / size_.width);
  return finest;
}

void Image::lockFocus() {
  auto target = makeFocus_ ? makeFocus_(*this) : Canvas::of(*this);
  GraphicsContext::saveGraphicsState();
  GraphicsContext::setCurrentContext(target);
  focus_.push_back(std::move(target));
}

void Image::unlockFocus() {
  if (focus_.empty()) return;
  GraphicsContext::restoreGraphicsState();
  const auto target = std::move(focus_.back());
  focus_.pop_back();
  const auto canvas = std::dynamic_pointer_cast<BitmapContext>(target);
  if (makeFocus_ || !canvas) return;
  if (auto drawn = canvas->createImage()) representations_ = {{std::move(drawn), size_}};
}

}  // namespace wevora::platform
