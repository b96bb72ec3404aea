#pragma once

#include <chrono>
#include <thread>

#include <gio/gio.h>

#include "Platform/Base/GObjectPtr.h"
#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// Cancels an operation of GIO that is not over in time, from a thread of its own, so that the
/// operation can be waited for without a main loop.
/// Threads: one. Owns: the cancellable and the thread, until destroyed.
/// Errors: without a thread the operation is cancelled at once.
class Deadline {
 public:
  explicit Deadline(std::chrono::milliseconds allowed);
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
