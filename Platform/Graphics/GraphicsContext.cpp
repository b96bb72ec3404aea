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
  thread_local State mine;
  return mine;
}

}  // namespace

DrawingTarget* GraphicsContext::currentContext() noexcept {
  return state().current.get();
}

void GraphicsContext::setCurrentContext(std::shared_ptr<DrawingTarget> context) noexcept {
  state().current = std::move(context);
}

void GraphicsContext::saveGraphicsState() {
  State& mine = state();
  mine.saved.push_back(mine.current);
  if (mine.current) mine.current->save();
}

void GraphicsContext::restoreGraphicsState() noexcept {
  State& mine = state();
  if (mine.saved.empty()) return;
  mine.current = std::move(mine.saved.back());
  mine.saved.pop_back();
  if (mine.current) mine.current->restore();
}

void contextDrawImage(DrawingTarget& context, const Rect& rect, const BitmapRef& image) {
  if (!image || rect.empty() || !rect.finite()) return;
  context.drawBitmap(image, {.source = {0, 0, static_cast<double>(image->width()),
                                        static_cast<double>(image->height())},
                             .destination = rect,
                             .upsideDown = context.isFlipped()});
}

}  // namespace wevora::platform
