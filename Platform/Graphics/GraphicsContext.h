#pragma once

#include <memory>

#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::platform {

/// The target that images are drawn into on this thread. A host makes its own current around each
/// drawing of a cell, best with CurrentTarget.
/// Threads: each has its own. Owns: a share of the target that is current and of those that were
///   current when the state was saved. Errors: none; while there is none, drawing does nothing.
class GraphicsContext {
 public:
  /// Valid while it is current.
  static DrawingTarget* currentContext() noexcept;
  static void setCurrentContext(std::shared_ptr<DrawingTarget> context) noexcept;
  static void saveGraphicsState();
  /// Without a state that was saved this does nothing.
  static void restoreGraphicsState() noexcept;
};

/// Makes a target current for a scope, which the target outlives.
/// Threads: one. Owns: the graphics state that it saved. Errors: none.
class CurrentTarget {
 public:
  explicit CurrentTarget(DrawingTarget& target) {
    GraphicsContext::saveGraphicsState();
    GraphicsContext::setCurrentContext({std::shared_ptr<void>(), &target});
  }
  ~CurrentTarget() { GraphicsContext::restoreGraphicsState(); }
  CurrentTarget(const CurrentTarget&) = delete;
  CurrentTarget& operator=(const CurrentTarget&) = delete;
};

}  // namespace wevora::platform
