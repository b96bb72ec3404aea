#include "Platform/Dispatch/Timer.h"

#include <memory>
#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora::platform {

Timer::Timer(std::chrono::milliseconds delay, Call call)
    : source_(g_timeout_source_new(static_cast<guint>(delay.count()))) {
  auto kept = std::make_unique<Call>(std::move(call));
  g_source_set_callback(
      source_,
      [](gpointer data) noexcept -> gboolean {
        catchAll(*static_cast<Call*>(data));
        return G_SOURCE_REMOVE;
      },
      kept.release(),
      [](gpointer data) noexcept { const std::unique_ptr<Call> owned(static_cast<Call*>(data)); });
  g_source_attach(source_, g_main_context_get_thread_default());
}

Timer::~Timer() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

}  // namespace wevora::platform
