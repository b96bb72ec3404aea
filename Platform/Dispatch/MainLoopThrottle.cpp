#include "Platform/Dispatch/MainLoopThrottle.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

/// The time slice of a batch. It leaves a host that draws at 60 Hz more than half of each frame.
constexpr std::chrono::milliseconds kTimeSlice{6};
/// The longest pause, in main loop iterations. Prevents a host source that is always ready from
/// starving our work forever.
constexpr int kMaxPausedIterations = 8;

/// The throttles of this process, by main context.
/// Thread-safety: any thread.
class Throttles {
 public:
  std::shared_ptr<MainLoopThrottle> of(GMainContext* context) {
    const MutexLock lock(mutex_);
    auto& known = throttles_[context];
    auto throttle = known.lock();
    if (!throttle) known = throttle = std::make_shared<MainLoopThrottle>(context);
    return throttle;
  }

 private:
  Mutex mutex_;
  std::map<GMainContext*, std::weak_ptr<MainLoopThrottle>> throttles_ GUARDED_BY(mutex_);
};

}  // namespace

struct MainLoopThrottle::Source {
  GSource source;
  MainLoopThrottle* throttle;
};

struct MainLoopThrottle::TaskSource::State {
  State(Order place, Step toDo) : order(place), step(std::move(toDo)) {}
  const Order order;
  const Step step;
  std::atomic<bool> ready{false};
};

MainLoopThrottle::TaskSource::TaskSource(GMainContext* context, Order order, Step step)
    : throttle_(of(context)), state_(std::make_shared<State>(order, std::move(step))) {
  throttle_->add(state_);
}

MainLoopThrottle::TaskSource::~TaskSource() {
  throttle_->remove(state_);
}

void MainLoopThrottle::TaskSource::ready() {
  state_->ready = true;
  throttle_->workArrived();
}

std::shared_ptr<MainLoopThrottle> MainLoopThrottle::of(GMainContext* context) {
  static NeverDestroyed<Throttles> throttles;
  return throttles->of(context != nullptr ? context : g_main_context_default());
}

MainLoopThrottle::MainLoopThrottle(GMainContext* context) {
  static GSourceFuncs working = {
      &MainLoopThrottle::prepare, nullptr, &MainLoopThrottle::dispatch, nullptr, nullptr, nullptr};
  static GSourceFuncs resuming = {nullptr, nullptr, &MainLoopThrottle::lowerPrioritiesRan,
                                  nullptr, nullptr, nullptr};
  work_ = attachSource(context, working, G_PRIORITY_DEFAULT);
  resume_ = attachSource(context, resuming, G_PRIORITY_LOW);
}

MainLoopThrottle::~MainLoopThrottle() {
  for (GSource* source : {work_, resume_}) {
    g_source_destroy(source);
    g_source_unref(source);
  }
}

GSource* MainLoopThrottle::attachSource(GMainContext* context, GSourceFuncs& functions,
                                        int priority) {
  GSource* source = g_source_new(&functions, sizeof(Source));
  reinterpret_cast<Source*>(source)->throttle = this;
  g_source_set_name(source, "wevora");
  g_source_set_priority(source, priority);
  g_source_attach(source, context);
  return source;
}

MainLoopThrottle& MainLoopThrottle::throttleOf(GSource* source) {
  return *reinterpret_cast<Source*>(source)->throttle;
}

gboolean MainLoopThrottle::prepare(GSource* source, gint* timeout) noexcept {
  *timeout = -1;
  throttleOf(source).loopIterated();
  return FALSE;  // the ready time of the source decides
}

gboolean MainLoopThrottle::dispatch(GSource* source, GSourceFunc /*function*/,
                                    gpointer /*data*/) noexcept {
  const auto alive = throttleOf(source).shared_from_this();
  alive->runBatch();
  alive->pause();
  return G_SOURCE_CONTINUE;
}

gboolean MainLoopThrottle::lowerPrioritiesRan(GSource* source, GSourceFunc /*function*/,
                                              gpointer /*data*/) noexcept {
  auto& throttle = throttleOf(source);
  const MutexLock lock(throttle.mutex_);
  throttle.resume();
  return G_SOURCE_CONTINUE;
}

void MainLoopThrottle::add(std::shared_ptr<TaskSource::State> taskSource) {
  const MutexLock lock(mutex_);
  const auto place =
      std::ranges::upper_bound(taskSources_, taskSource->order, {}, &TaskSource::State::order);
  taskSources_.insert(place, std::move(taskSource));
}

void MainLoopThrottle::remove(const std::shared_ptr<TaskSource::State>& taskSource) {
  const MutexLock lock(mutex_);
  std::erase(taskSources_, taskSource);
}

void MainLoopThrottle::workArrived() {
  const MutexLock lock(mutex_);
  if (!paused_) g_source_set_ready_time(work_, 0);
}

void MainLoopThrottle::runBatch() {
  const auto end = std::chrono::steady_clock::now() + kTimeSlice;
  for (int steps = 0; steps < kMaxBatchSteps; ++steps) {
    const auto taskSource = next();
    if (!taskSource) return;
    // Reset before the step: work that arrives while it runs sets the flag again.
    taskSource->ready = false;
    catchAll([&] {
      if (taskSource->step()) taskSource->ready = true;
    });
    if (std::chrono::steady_clock::now() >= end) return;
  }
}

std::shared_ptr<MainLoopThrottle::TaskSource::State> MainLoopThrottle::next() {
  const MutexLock lock(mutex_);
  const auto found = std::ranges::find_if(
      taskSources_, [](const auto& taskSource) { return taskSource->ready.load(); });
  return found == taskSources_.end() ? nullptr : *found;
}

void MainLoopThrottle::pause() {
  const MutexLock lock(mutex_);
  paused_ = true;
  iterations_ = 0;
  g_source_set_ready_time(work_, -1);
  g_source_set_ready_time(resume_, 0);
}

void MainLoopThrottle::loopIterated() {
  const MutexLock lock(mutex_);
  if (paused_ && ++iterations_ > kMaxPausedIterations) resume();
}

void MainLoopThrottle::resume() {
  paused_ = false;
  g_source_set_ready_time(resume_, -1);
  if (std::ranges::any_of(taskSources_,
                          [](const auto& taskSource) { return taskSource->ready.load(); }))
    g_source_set_ready_time(work_, 0);
}

}  // namespace wevora::platform
