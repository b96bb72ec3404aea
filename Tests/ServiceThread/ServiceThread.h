#pragma once

#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include <gio/gio.h>

namespace wevora::testing_host {

/// A thread with a main loop of its own, so that a service can answer a caller of the same test
/// that waits.
/// Threads: the test's. Owns: the thread, until destroyed. Errors: none.
class ServiceThread {
 public:
  ServiceThread();
  ~ServiceThread();
  ServiceThread(const ServiceThread&) = delete;
  ServiceThread& operator=(const ServiceThread&) = delete;

  /// Runs the work in the thread and waits for its end.
  void perform(const std::function<void()>& work);

 private:
  static gboolean performNext(gpointer self) noexcept;

  std::mutex mutex_;
  std::deque<std::packaged_task<void()>> tasks_;  // under mutex_
  GMainContext* context_;
  GMainLoop* loop_;
  std::thread thread_;
};

/// Runs the default main context until the condition holds; false after ten seconds without.
bool runMainLoopUntil(const std::function<bool()>& condition);

}  // namespace wevora::testing_host
