#pragma once

#include <atomic>

#include "Platform/Base/Clock.h"

namespace wevora::platform {

/// A clock that a test moves by hand. It starts on a whole second, so that sums of ordinary
/// decimal steps stay exact enough to test a bound from both sides.
/// Threads: any. Owns: nothing. Errors: none.
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
