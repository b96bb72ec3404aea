#include "Platform/Dispatch/MainLoopThrottle.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

/// A host that draws sixty times a second has a little more than half of each picture's time left.
constexpr std::chrono::milliseconds kTimeOfBatch{6};
/// A host with a source that is always ready must not keep us waiting for ever.
constexpr int kTurnsOfRest = 8;

/// The shares of this process's contexts.
/// Threads: any. Owns: nothing but the list. Errors: none.
class Shares {
 public:
  std::shared_ptr<MainLoopThrottle> of(GMainContext* context) {
    const MutexLock lock(mutex_);
    auto& known = shares_[context];
    auto share = known.lock();
    if (!share) known = share = std::make_shared<MainLoopThrottle>(context);
    return share;
  }

 private:
  Mutex mutex_;
  std::map<GMainContext*, std::weak_ptr<MainLoopThrottle>> shares_ GUARDED_BY(mutex_);
};

}  // namespace

struct MainLoopThrottle::Source {
  GSource source;
  MainLoopThrottle* share;
};

struct MainLoopThrottle::TaskSource::State {
  State(Order place, Step toDo) : order(place), step(std::move(toDo)) {}
  const Order order;
  const Step step;
  std::atomic<bool> ready{false};
};

MainLoopThrottle::TaskSource::TaskSource(GMainContext* context, Order order, Step step)
    : share_(of(context)), state_(std::make_shared<State>(order, std::move(step))) {
  share_->add(state_);
}

MainLoopThrottle::TaskSource::~TaskSource() {
  share_->remove(state_);
}

void MainLoopThrottle::TaskSource::ready() {
  state_->ready = true;
  share_->workIsThere();
}

std::shared_ptr<MainLoopThrottle> MainLoopThrottle::of(GMainContext* context) {
  static NeverDestroyed<Shares> shares;
  return shares->of(context != nullptr ? context : g_main_context_default());
}

MainLoopThrottle::MainLoopThrottle(GMainContext* context) {
  static GSourceFuncs working = {
      &MainLoopThrottle::prepare, nullptr, &MainLoopThrottle::dispatch, nullptr, nullptr, nullptr};
  static GSourceFuncs waiting = {nullptr, nullptr, &MainLoopThrottle::othersHadTheirTurn,
                                 nullptr, nullptr, nullptr};
  work_ = attached(context, working, G_PRIORITY_DEFAULT);
  others_ = attached(context, waiting, G_PRIORITY_LOW);
}

MainLoopThrottle::~MainLoopThrottle() {
  for (GSource* source : {work_, others_}) {
    g_source_destroy(source);
    g_source_unref(source);
  }
}

GSource* MainLoopThrottle::attached(GMainContext* context, GSourceFuncs& functions, int priority) {
  GSource* source = g_source_new(&functions, sizeof(Source));
  reinterpret_cast<Source*>(source)->share = this;
  g_source_set_name(source, "wevora");
  g_source_set_priority(source, priority);
  g_source_attach(source, context);
  return source;
}

MainLoopThrottle& MainLoopThrottle::shareOf(GSource* source) {
  return *reinterpret_cast<Source*>(source)->share;
}

gboolean MainLoopThrottle::prepare(GSource* source, gint* timeout) noexcept {
  *timeout = -1;
  shareOf(source).turned();
  return FALSE;  // the source's ready time says whether there is work
}

gboolean MainLoopThrottle::dispatch(GSource* source, GSourceFunc /*function*/,
                                    gpointer /*data*/) noexcept {
  const auto alive = shareOf(source).shared_from_this();
  alive->runBatch();
  alive->rest();
  return G_SOURCE_CONTINUE;
}

gboolean MainLoopThrottle::othersHadTheirTurn(GSource* source, GSourceFunc /*function*/,
                                              gpointer /*data*/) noexcept {
  auto& share = shareOf(source);
  const MutexLock lock(share.mutex_);
  share.goOn();
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

void MainLoopThrottle::workIsThere() {
  const MutexLock lock(mutex_);
  if (!resting_) g_source_set_ready_time(work_, 0);
}

void MainLoopThrottle::runBatch() {
  const auto end = std::chrono::steady_clock::now() + kTimeOfBatch;
  for (int steps = 0; steps < kStepsOfBatch; ++steps) {
    const auto taskSource = next();
    if (!taskSource) return;
    // Before the step: who adds work while it runs says so again.
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

void MainLoopThrottle::rest() {
  const MutexLock lock(mutex_);
  resting_ = true;
  turns_ = 0;
  g_source_set_ready_time(work_, -1);
  g_source_set_ready_time(others_, 0);
}

void MainLoopThrottle::turned() {
  const MutexLock lock(mutex_);
  if (resting_ && ++turns_ > kTurnsOfRest) goOn();
}

void MainLoopThrottle::goOn() {
  resting_ = false;
  g_source_set_ready_time(others_, -1);
  if (std::ranges::any_of(taskSources_,
                          [](const auto& taskSource) { return taskSource->ready.load(); }))
    g_source_set_ready_time(work_, 0);
}

}  // namespace wevora::platform
