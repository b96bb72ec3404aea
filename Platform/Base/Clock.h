#pragma once

#include <chrono>

#include "Platform/Base/Date.h"

namespace wevora::platform {

/// Source of the current time.
/// Thread-safety: any thread.
/// Errors: an implementation may throw; callers must handle that.
class Clock {
 public:
  virtual ~Clock() = default;
  /// The wall clock. It may jump, because users can set it.
  virtual Date now() const = 0;
  /// Monotonic time since an arbitrary start.
  virtual std::chrono::nanoseconds uptime() const = 0;
};

/// The clocks of the operating system.
class SystemClock : public Clock {
 public:
  Date now() const override;
  std::chrono::nanoseconds uptime() const override;
};

}  // namespace wevora::platform
