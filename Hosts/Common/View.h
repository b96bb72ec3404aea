#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// "NSView": a part of a host's window. `setNeedsDisplay:` requests a redraw through a callback.
/// Thread-safety: main thread only.
/// Ownership: holds the callback; the widget may already be destroyed when it runs.
class View : public platform::Object {
 public:
  using Redraw = std::function<void()>;

  static std::shared_ptr<platform::Class> registerIn(platform::Runtime& runtime);

  View(platform::Class& isa, Redraw redraw, std::vector<platform::Id> subviews = {})
      : Object(isa), redraw_(std::move(redraw)), subviews_(std::move(subviews)) {}

  // -subviews
  const std::vector<platform::Id>& subviews() const noexcept { return subviews_; }
  // -setNeedsDisplay:
  void setNeedsDisplay(bool needed) const {
    if (needed && redraw_) redraw_();
  }

 private:
  const Redraw redraw_;
  const std::vector<platform::Id> subviews_;
};

}  // namespace wevora::hosts
