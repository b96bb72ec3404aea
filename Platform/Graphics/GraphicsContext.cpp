#include "Platform/Graphics/GraphicsContext.h"

#include <utility>
#include <vector>

namespace wevora::platform {
namespace {

struct State {
  std::shared_ptr<DrawingTarget> current;
  std::vector<std::shared_ptr<DrawingTarget>> saved;
};

State& state() noexcept {
  thread_local State ofThread;
  return ofThread;
}

}  // namespace

DrawingTarget* GraphicsContext::currentContext() noexcept {
  return state().current.get();
}

void GraphicsContext::setCurrentContext(std::shared_ptr<DrawingTarget> context) noexcept {
  state().current = std::move(context);
}

void GraphicsContext::saveGraphicsState() {
  State& own = state();
  own.saved.push_back(own.current);
  if (own.current) own.current->save();
}

void GraphicsContext::restoreGraphicsState() noexcept {
  State& own = state();
  if (own.saved.empty()) return;
  own.current = std::move(own.saved.back());
  own.saved.pop_back();
  if (own.current) own.current->restore();
}

void contextDrawImage(DrawingTarget& context, const Rect& rect, const BitmapRef& image) {
  if (!image || rect.empty() || !rect.finite()) return;
  context.drawBitmap(image, {.source = {0, 0, static_cast<double>(image->width()),
                                        static_cast<double>(image->height())},
                             .destination = rect,
                             .upsideDown = context.isFlipped()});
}

}  // namespace wevora::platform
