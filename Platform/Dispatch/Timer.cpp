#include "Platform/Dispatch/Timer.h"

#include <memory>
#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora::platform {

Timer::Timer(std::chrono::milliseconds delay, Callback callback)
    : source_(g_timeout_source_new(static_cast<guint>(delay.count()))) {
  auto held = std::make_unique<Callback>(std::move(callback));
  g_source_set_callback(
      source_,
      [](gpointer data) noexcept -> gboolean {
        catchAll(*static_cast<Callback*>(data));
        return G_SOURCE_REMOVE;
      },
      held.release(),
      [](gpointer data) noexcept {
        const std::unique_ptr<Callback> owned(static_cast<Callback*>(data));
      });
  g_source_attach(source_, g_main_context_get_thread_default());
}

Timer::~Timer() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

}  // namespace wevora::platform
