#pragma once

#include <chrono>
#include <memory>

#include "Platform/Base/Clock.h"
#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// Limits the total time for which calls to one peer may block us. The time of each slow call is
/// charged to the budget, which refills slowly. Prompt replies are free, so a healthy peer never
/// exhausts its budget.
/// Thread-safety: any thread. `mutex_` is a leaf lock.
class WaitBudget {
 public:
  WaitBudget(std::chrono::milliseconds total, std::shared_ptr<const Clock> clock);

  /// The timeout for a call that starts now; at least promptLimit().
  std::chrono::milliseconds remaining();
  /// Charges the duration of a finished call. Returns false if the budget is exhausted.
  bool charge(std::chrono::nanoseconds waited);
  /// Calls up to this duration are free: a twentieth of the total.
  std::chrono::milliseconds promptLimit() const noexcept { return total_ / 20; }

 private:
  void refill() REQUIRES(mutex_);

  const std::chrono::milliseconds total_;
  const std::shared_ptr<const Clock> clock_;
  Mutex mutex_;
  std::chrono::nanoseconds spent_ GUARDED_BY(mutex_){0};
  std::chrono::nanoseconds refilledAt_ GUARDED_BY(mutex_);
};

}  // namespace wevora::platform
