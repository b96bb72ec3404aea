#include "Platform/IPC/WaitBudget.h"

#include <algorithm>
#include <utility>

namespace wevora::platform {
namespace {

/// The budget refills by one second in thirty, so a peer that is always slow blocks us for at most
/// a thirtieth of the time.
constexpr int kRefillDivisor = 30;

}  // namespace

WaitBudget::WaitBudget(std::chrono::milliseconds total, std::shared_ptr<const Clock> clock)
    : total_(total), clock_(std::move(clock)), refilledAt_(clock_->uptime()) {}

std::chrono::milliseconds WaitBudget::remaining() {
  const MutexLock lock(mutex_);
  refill();
  return std::max(promptLimit(),
                  std::chrono::duration_cast<std::chrono::milliseconds>(total_ - spent_));
}

bool WaitBudget::charge(std::chrono::nanoseconds waited) {
  const MutexLock lock(mutex_);
  refill();
  if (waited <= promptLimit()) return true;
  spent_ += waited;
  return spent_ <= total_;
}

void WaitBudget::refill() {
  const auto now = clock_->uptime();
  spent_ = std::max(std::chrono::nanoseconds(0), spent_ - (now - refilledAt_) / kRefillDivisor);
  refilledAt_ = now;
}

}  // namespace wevora::platform
