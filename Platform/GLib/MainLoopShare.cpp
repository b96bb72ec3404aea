#include "Platform/GLib/MainLoopShare.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

#include "Platform/Support/Guard.h"

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
  std::shared_ptr<MainLoopShare> of(GMainContext* context) {
    const MutexLock lock(mutex_);
    auto& known = shares_[context];
    auto share = known.lock();
    if (!share) known = share = std::make_shared<MainLoopShare>(context);
    return share;
  }

 private:
  Mutex mutex_;
  std::map<GMainContext*, std::weak_ptr<MainLoopShare>> shares_ GUARDED_BY(mutex_);
};

}  // namespace

struct MainLoopShare::Source {
  GSource source;
  MainLoopShare* share;
};

struct MainLoopShare::Lane::State {
  State(Order place, Step toDo) : order(place), step(std::move(toDo)) {}
  const Order order;
  const Step step;
  std::atomic<bool> ready{false};
};

MainLoopShare::Lane::Lane(GMainContext* context, Order order, Step step)
    : share_(of(context)), state_(std::make_shared<State>(order, std::move(step))) {
  share_->add(state_);
}

MainLoopShare::Lane::~Lane() {
  share_->remove(state_);
}

void MainLoopShare::Lane::ready() {
  state_->ready = true;
  share_->workIsThere();
}

std::shared_ptr<MainLoopShare> MainLoopShare::of(GMainContext* context) {
  static NeverDestroyed<Shares> shares;
  return shares->of(context != nullptr ? context : g_main_context_default());
}

MainLoopShare::MainLoopShare(GMainContext* context) {
  static GSourceFuncs working = {
      &MainLoopShare::prepare, nullptr, &MainLoopShare::dispatch, nullptr, nullptr, nullptr};
  static GSourceFuncs waiting = {nullptr, nullptr, &MainLoopShare::othersHadTheirTurn,
                                 nullptr, nullptr, nullptr};
  work_ = attached(context, working, G_PRIORITY_DEFAULT);
  others_ = attached(context, waiting, G_PRIORITY_LOW);
}

MainLoopShare::~MainLoopShare() {
  for (GSource* source : {work_, others_}) {
    g_source_destroy(source);
    g_source_unref(source);
  }
}

GSource* MainLoopShare::attached(GMainContext* context, GSourceFuncs& functions, int priority) {
  GSource* source = g_source_new(&functions, sizeof(Source));
  reinterpret_cast<Source*>(source)->share = this;
  g_source_set_name(source, "wevora");
  g_source_set_priority(source, priority);
  g_source_attach(source, context);
  return source;
}

MainLoopShare& MainLoopShare::shareOf(GSource* source) {
  return *reinterpret_cast<Source*>(source)->share;
}

gboolean MainLoopShare::prepare(GSource* source, gint* timeout) noexcept {
  *timeout = -1;
  shareOf(source).turned();
  return FALSE;  // the source's ready time says whether there is work
}

gboolean MainLoopShare::dispatch(GSource* source, GSourceFunc /*function*/,
                                 gpointer /*data*/) noexcept {
  const auto alive = shareOf(source).shared_from_this();
  alive->runBatch();
  alive->rest();
  return G_SOURCE_CONTINUE;
}

gboolean MainLoopShare::othersHadTheirTurn(GSource* source, GSourceFunc /*function*/,
                                           gpointer /*data*/) noexcept {
  auto& share = shareOf(source);
  const MutexLock lock(share.mutex_);
  share.goOn();
  return G_SOURCE_CONTINUE;
}

void MainLoopShare::add(std::shared_ptr<Lane::State> lane) {
  const MutexLock lock(mutex_);
  const auto place = std::ranges::upper_bound(lanes_, lane->order, {}, &Lane::State::order);
  lanes_.insert(place, std::move(lane));
}

void MainLoopShare::remove(const std::shared_ptr<Lane::State>& lane) {
  const MutexLock lock(mutex_);
  std::erase(lanes_, lane);
}

void MainLoopShare::workIsThere() {
  const MutexLock lock(mutex_);
  if (!resting_) g_source_set_ready_time(work_, 0);
}

void MainLoopShare::runBatch() {
  const auto end = std::chrono::steady_clock::now() + kTimeOfBatch;
  for (int steps = 0; steps < kStepsOfBatch; ++steps) {
    const auto lane = next();
    if (!lane) return;
    // Before the step: who adds work while it runs says so again.
    lane->ready = false;
    swallowing([&] {
      if (lane->step()) lane->ready = true;
    });
    if (std::chrono::steady_clock::now() >= end) return;
  }
}

std::shared_ptr<MainLoopShare::Lane::State> MainLoopShare::next() {
  const MutexLock lock(mutex_);
  const auto found =
      std::ranges::find_if(lanes_, [](const auto& lane) { return lane->ready.load(); });
  return found == lanes_.end() ? nullptr : *found;
}

void MainLoopShare::rest() {
  const MutexLock lock(mutex_);
  resting_ = true;
  turns_ = 0;
  g_source_set_ready_time(work_, -1);
  g_source_set_ready_time(others_, 0);
}

void MainLoopShare::turned() {
  const MutexLock lock(mutex_);
  if (resting_ && ++turns_ > kTurnsOfRest) goOn();
}

void MainLoopShare::goOn() {
  resting_ = false;
  g_source_set_ready_time(others_, -1);
  if (std::ranges::any_of(lanes_, [](const auto& lane) { return lane->ready.load(); }))
    g_source_set_ready_time(work_, 0);
}

}  // namespace wevora::platform
