#pragma once

#include <chrono>

#include "Platform/Base/Date.h"

namespace wevora::platform {

/// Where the system takes the time from.
/// Threads: any. Owns: nothing. Errors: none of its own; a caller must bear one that throws.
class Clock {
 public:
  virtual ~Clock() = default;
  /// The wall clock, which a person may set.
  virtual Date now() const = 0;
  /// Time that only moves forward, from an arbitrary start.
  virtual std::chrono::nanoseconds uptime() const = 0;
};

/// The machine's clocks.
class SystemClock : public Clock {
 public:
  Date now() const override;
  std::chrono::nanoseconds uptime() const override;
};

}  // namespace wevora::platform
