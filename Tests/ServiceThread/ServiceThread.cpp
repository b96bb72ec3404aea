#include "Tests/ServiceThread/ServiceThread.h"

#include <future>

namespace wevora::testing_host {

ServiceThread::ServiceThread()
    : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
  thread_ = std::thread([this] {
    g_main_context_push_thread_default(context_);
    g_main_loop_run(loop_);
    // What was closed is told in the loop's last turns.
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
  struct Task {
    const std::function<void()>& work;
    std::promise<void> done;
  } task{work, {}};
  auto done = task.done.get_future();
  g_main_context_invoke(
      context_,
      [](gpointer data) -> gboolean {
        auto* given = static_cast<Task*>(data);
        given->work();
        given->done.set_value();
        return G_SOURCE_REMOVE;
      },
      &task);
  done.wait();
}

bool runMainLoopUntil(const std::function<bool()>& condition) {
  bool late = false;
  const guint alarm = g_timeout_add_seconds(
      10,
      [](gpointer data) -> gboolean {
        *static_cast<bool*>(data) = true;
        return G_SOURCE_CONTINUE;
      },
      &late);
  while (!condition() && !late) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(alarm);
  return !late;
}

}  // namespace wevora::testing_host
