#include "Tests/ServiceThread/ServiceThread.h"

#include <utility>

namespace wevora::testing_host {

ServiceThread::ServiceThread()
    : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
  thread_ = std::thread([this] {
    g_main_context_push_thread_default(context_);
    g_main_loop_run(loop_);
    // Run the pending callbacks of closed connections.
    while (g_main_context_iteration(context_, FALSE) != FALSE) {
    }
    g_main_context_pop_thread_default(context_);
  });
}

ServiceThread::~ServiceThread() {
  perform([this] { g_main_loop_quit(loop_); });
  thread_.join();
  g_main_loop_unref(loop_);
  g_main_context_unref(context_);
}

void ServiceThread::perform(const std::function<void()>& work) {
  std::packaged_task<void()> task([&work] { work(); });
  auto done = task.get_future();
  {
    // Pass the task under our own mutex: ThreadSanitizer does not see GLib's locks.
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  g_main_context_invoke(context_, &ServiceThread::performNext, this);
  done.wait();
}

gboolean ServiceThread::performNext(gpointer self) noexcept {
  auto* thread = static_cast<ServiceThread*>(self);
  std::packaged_task<void()> task;
  {
    const std::lock_guard lock(thread->mutex_);
    task = std::move(thread->tasks_.front());
    thread->tasks_.pop_front();
  }
  task();
  return G_SOURCE_REMOVE;
}

bool runMainLoopUntil(const std::function<bool()>& condition) {
  bool timedOut = false;
  const guint timeout = g_timeout_add_seconds(
      10,
      [](gpointer data) -> gboolean {
        *static_cast<bool*>(data) = true;
        return G_SOURCE_CONTINUE;
      },
      &timedOut);
  while (!condition() && !timedOut) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(timeout);
  return !timedOut;
}

}  // namespace wevora::testing_host
