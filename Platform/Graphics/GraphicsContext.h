#pragma once

#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::platform {

/// The target that images are drawn into on this thread. A host makes its own current around each
/// drawing of a cell, best with CurrentTarget.
/// Threads: each has its own. Owns: nothing; a target stays alive while it is current.
/// Errors: none; while there is none, drawing does nothing.
class GraphicsContext {
 public:
  static DrawingTarget* currentContext() noexcept;
  static void setCurrentContext(DrawingTarget* context);
  static void saveGraphicsState();
  /// Without a state that was saved this does nothing.
  static void restoreGraphicsState() noexcept;
};

/// Makes a target current for a scope.
/// Threads: one. Owns: the graphics state that it saved. Errors: none.
class CurrentTarget {
 public:
  explicit CurrentTarget(DrawingTarget& target) {
    GraphicsContext::saveGraphicsState();
    GraphicsContext::setCurrentContext(&target);
  }
  ~CurrentTarget() { GraphicsContext::restoreGraphicsState(); }
  CurrentTarget(const CurrentTarget&) = delete;
  CurrentTarget& operator=(const CurrentTarget&) = delete;
};

}  // namespace wevora::platform
