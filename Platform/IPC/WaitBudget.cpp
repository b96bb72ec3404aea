#include "Platform/IPC/WaitBudget.h"

#include <algorithm>
#include <utility>

namespace wevora::platform {
namespace {

/// A peer that is always slow takes a thirtieth of the host's time at most.
constexpr int kTimesSlower = 30;

}  // namespace

WaitBudget::WaitBudget(std::chrono::milliseconds whole, std::shared_ptr<const Clock> clock)
    : whole_(whole), clock_(std::move(clock)), asOf_(clock_->uptime()) {}

std::chrono::milliseconds WaitBudget::left() {
  const MutexLock lock(mutex_);
  comeBack();
  return std::max(prompt(),
                  std::chrono::duration_cast<std::chrono::milliseconds>(whole_ - missing_));
}

bool WaitBudget::bears(std::chrono::nanoseconds waited) {
  const MutexLock lock(mutex_);
  comeBack();
  if (waited <= prompt()) return true;
  missing_ += waited;
  return missing_ <= whole_;
}

void WaitBudget::comeBack() {
  const auto now = clock_->uptime();
  missing_ = std::max(std::chrono::nanoseconds(0), missing_ - (now - asOf_) / kTimesSlower);
  asOf_ = now;
}

}  // namespace wevora::platform
