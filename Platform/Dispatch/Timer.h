#pragma once

#include <chrono>
#include <functional>

#include <glib.h>

namespace wevora::platform {

/// Calls something once, after a while, from the main loop of the thread that made it.
/// Threads: one.
/// Owns: a source of the main context, until destroyed; the call may destroy it.
/// Errors: none; what the call throws ends there.
class Timer {
 public:
  using Call = std::function<void()>;

  Timer(std::chrono::milliseconds delay, Call call);
  ~Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

 private:
  GSource* source_;
};

}  // namespace wevora::platform
