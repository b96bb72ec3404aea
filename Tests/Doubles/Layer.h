#pragma once

#include <memory>

#include "Platform/Graphics/Geometry.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::platform {

/// A layer of a host: a frame that is drawn for itself. It answers `frame`, `setNeedsDisplay` and
/// `needsDisplay`.
/// Threads: the main thread. Owns: its frame. Errors: none.
class Layer : public Object {
 public:
  using Object::Object;
  /// The class "CALayer"; the one that is there already, if any, learns what it lacks.
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
