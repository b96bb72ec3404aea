#pragma once

#include <chrono>
#include <memory>

#include "Platform/Base/Clock.h"
#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// How long one peer may keep us waiting, in one wait or in several: what was waited is missing
/// from the next, and comes back slowly. An answer that is prompt costs nothing, however many there
/// are, so that a healthy peer is borne for ever.
/// Threads: any. Owns: a share of the clock. Errors: none.
class WaitBudget {
 public:
  WaitBudget(std::chrono::milliseconds whole, std::shared_ptr<const Clock> clock);

  /// For a wait that begins now. Never less than a prompt answer takes.
  std::chrono::milliseconds left();
  /// Whether a wait that long, just over, can still be borne.
  bool bears(std::chrono::nanoseconds waited);
  /// The longest wait that costs nothing: a twentieth of the whole.
  std::chrono::milliseconds prompt() const noexcept { return whole_ / 20; }

 private:
  void comeBack() REQUIRES(mutex_);

  const std::chrono::milliseconds whole_;
  const std::shared_ptr<const Clock> clock_;
  Mutex mutex_;
  std::chrono::nanoseconds missing_ GUARDED_BY(mutex_){0};
  std::chrono::nanoseconds asOf_ GUARDED_BY(mutex_);
};

}  // namespace wevora::platform
