#pragma once

#include <chrono>
#include <thread>

#include <gio/gio.h>

#include "Platform/Base/GObjectPtr.h"
#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// A timeout for a synchronous GIO operation: cancels it from a separate thread, so that it works
/// without a running main loop.
/// Errors: if the thread cannot be started, the operation is cancelled at once.
class Deadline {
 public:
  explicit Deadline(std::chrono::milliseconds timeout);
  ~Deadline();
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

  GCancellable* cancellable() const noexcept { return cancellable_.get(); }

 private:
  void watch(std::chrono::steady_clock::time_point end);

  GObjectPtr<GCancellable> cancellable_;
  Mutex mutex_;
  Condition ended_;
  bool over_ GUARDED_BY(mutex_) = false;
  std::thread watch_;
};

}  // namespace wevora::platform
