#pragma once

#include <memory>

#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::platform {

/// The current drawing target of the thread. A host makes its own target current while a cell is
/// drawn, preferably with CurrentTarget. Without a current target, drawing does nothing.
/// Thread-safety: each thread has its own state.
/// Ownership: holds the current target and the targets of the saved states.
class GraphicsContext {
 public:
  /// Null without a current target. Valid while it is current.
  static DrawingTarget* currentContext() noexcept;
  static void setCurrentContext(std::shared_ptr<DrawingTarget> context) noexcept;
  static void saveGraphicsState();
  /// Does nothing without a saved state.
  static void restoreGraphicsState() noexcept;
};

/// Makes a target current for a scope. The target must outlive the scope.
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
