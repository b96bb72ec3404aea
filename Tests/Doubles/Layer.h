#pragma once

#include <memory>

#include "Platform/Graphics/Geometry.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::platform {

/// A fake layer of a host ("CALayer"), which responds to `frame`, `setNeedsDisplay` and
/// `needsDisplay`.
class Layer : public Object {
 public:
  using Object::Object;
  /// Registers "CALayer", or adds the missing methods to a class of that name that exists already.
  static std::shared_ptr<Class> registerIn(Runtime& runtime);

  // -frame
  Rect frame() const noexcept { return frame_; }
  // -setFrame:
  void setFrame(const Rect& frame) noexcept { frame_ = frame; }
  // -setNeedsDisplay
  void setNeedsDisplay() noexcept { needsDisplay_ = true; }
  // -needsDisplay
  bool needsDisplay() const noexcept { return needsDisplay_; }
  void displayed() noexcept { needsDisplay_ = false; }

 private:
  Rect frame_;
  bool needsDisplay_ = false;
};

}  // namespace wevora::platform
