#include "Platform/Dispatch/Deadline.h"

#include <csignal>
#include <system_error>

namespace wevora::platform {
namespace {

/// Blocks all signals in the calling thread, so that a thread started meanwhile inherits the mask.
/// Signals must be handled by the host's own threads.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

Deadline::Deadline(std::chrono::milliseconds timeout) : cancellable_(g_cancellable_new()) {
  const SignalsBlocked blocked;
  const auto end = std::chrono::steady_clock::now() + timeout;
  try {
    watch_ = std::thread([this, end]() noexcept { watch(end); });
  } catch (const std::system_error&) {
    g_cancellable_cancel(cancellable_.get());
  }
}

void Deadline::watch(std::chrono::steady_clock::time_point end) {
  {
    MutexLock lock(mutex_);
    while (!over_ && std::chrono::steady_clock::now() < end) ended_.wait_until(lock, end);
    if (over_) return;
  }
  g_cancellable_cancel(cancellable_.get());
}

Deadline::~Deadline() {
  {
    const MutexLock lock(mutex_);
    over_ = true;
  }
  ended_.notify_one();
  if (watch_.joinable()) watch_.join();
}

}  // namespace wevora::platform
