#pragma once

#include <atomic>

#include "Platform/Base/Clock.h"

namespace wevora::platform {

/// A clock that advances only when the test advances it. It starts at a whole second, so that sums
/// of decimal steps are exact enough to test both sides of a bound.
/// Thread-safety: any thread.
class VirtualClock : public Clock {
 public:
  explicit VirtualClock(Date start = Date{1'000'000.0}) : start_(start) {}

  Date now() const override { return start_ + std::chrono::duration<double>(uptime()).count(); }
  std::chrono::nanoseconds uptime() const override {
    return std::chrono::nanoseconds(elapsed_.load());
  }
  void advance(std::chrono::nanoseconds step) { elapsed_ += step.count(); }

 private:
  Date start_;
  std::atomic<std::chrono::nanoseconds::rep> elapsed_{0};
};

}  // namespace wevora::platform
