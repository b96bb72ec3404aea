#pragma once

#include <chrono>
#include <functional>

#include <glib.h>

namespace wevora::platform {

/// A one-shot timer on the thread-default main context of the creating thread.
/// Thread-safety: one thread.
/// Ownership: destroying the timer cancels it; the callback may destroy the timer.
/// Errors: exceptions thrown by the callback are discarded.
class Timer {
 public:
  using Callback = std::function<void()>;

  Timer(std::chrono::milliseconds delay, Callback callback);
  ~Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

 private:
  GSource* source_;
};

}  // namespace wevora::platform
