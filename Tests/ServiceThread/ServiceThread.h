#pragma once

#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include <gio/gio.h>

namespace wevora::testing_host {

/// A thread with its own main loop. A service on it can reply while the test's main thread blocks
/// in a call.
class ServiceThread {
 public:
  ServiceThread();
  ~ServiceThread();
  ServiceThread(const ServiceThread&) = delete;
  ServiceThread& operator=(const ServiceThread&) = delete;

  /// Runs the work on the thread and waits until it has finished.
  void perform(const std::function<void()>& work);

 private:
  static gboolean performNext(gpointer self) noexcept;

  std::mutex mutex_;
  std::deque<std::packaged_task<void()>> tasks_;  // guarded by mutex_
  GMainContext* context_;
  GMainLoop* loop_;
  std::thread thread_;
};

/// Iterates the default main context until the condition holds. Returns false after a timeout of
/// ten seconds.
bool runMainLoopUntil(const std::function<bool()>& condition);

}  // namespace wevora::testing_host
