#include "Platform/Dispatch/MainLoopThrottle.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "Tests/ServiceThread/ServiceThread.h"

namespace wevora::platform {
namespace {

using testing_host::runMainLoopUntil;
using TaskSource = MainLoopThrottle::TaskSource;
using Order = MainLoopThrottle::Order;

/// The priority at which a host draws.
constexpr int kRedraw = G_PRIORITY_HIGH_IDLE + 20;

/// A host source that is always ready. Counts its dispatches, and the steps of ours between them.
class HostWork {
 public:
  explicit HostWork(int priority) : source_(g_idle_add_full(priority, &dispatch, this, nullptr)) {}
  ~HostWork() { g_source_remove(source_); }
  HostWork(const HostWork&) = delete;
  HostWork& operator=(const HostWork&) = delete;

  void countStep() { longest = std::max(longest, ++since_); }
  int dispatches = 0;
  int longest = 0;

 private:
  static gboolean dispatch(gpointer self) noexcept {
    ++static_cast<HostWork*>(self)->dispatches;
    static_cast<HostWork*>(self)->since_ = 0;
    return G_SOURCE_CONTINUE;
  }
  int since_ = 0;
  guint source_;
};

TEST(MainLoopThrottleTest, ASourceOfLowerPriorityRunsAfterEachBatch) {
  for (const int priority : {G_PRIORITY_DEFAULT, kRedraw, G_PRIORITY_DEFAULT_IDLE}) {
    HostWork host(priority);
    int left = 10000;
    TaskSource taskSource(nullptr, Order::blocks, [&] {
      host.countStep();
      return --left > 0;
    });
    taskSource.ready();
    ASSERT_TRUE(runMainLoopUntil([&] { return left == 0; }));
    EXPECT_LE(host.longest, MainLoopThrottle::kMaxBatchSteps) << priority;
    EXPECT_GE(host.dispatches, 10000 / MainLoopThrottle::kMaxBatchSteps) << priority;
  }
}

TEST(MainLoopThrottleTest, TwoTaskSourcesShareOneBatch) {
  HostWork host(kRedraw);
  int notifications = 0;
  int blocks = 0;
  int waiting = 0;
  int most = 0;
  TaskSource second(nullptr, Order::blocks, [&] {
    host.countStep();
    ++blocks;
    return --waiting > 0;
  });
  TaskSource first(nullptr, Order::notifications, [&] {
    host.countStep();
    most = std::max(most, waiting += 2);
    second.ready();
    return ++notifications < 5000;
  });
  first.ready();
  ASSERT_TRUE(runMainLoopUntil([&] { return blocks == 10000; }));
  EXPECT_LE(host.longest, MainLoopThrottle::kMaxBatchSteps);
  EXPECT_EQ(most, 2);  // the blocks of notifications do not pile up
}

TEST(MainLoopThrottleTest, ASlowStepEndsItsBatch) {
  HostWork host(kRedraw);
  int steps = 0;
  TaskSource taskSource(nullptr, Order::blocks, [&] {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(7);
    while (std::chrono::steady_clock::now() < end) {
    }
    host.countStep();
    return ++steps < 5;
  });
  taskSource.ready();
  ASSERT_TRUE(runMainLoopUntil([&] { return steps == 5; }));
  EXPECT_EQ(host.longest, 1);
}

TEST(MainLoopThrottleTest, AHostSourceThatIsAlwaysReadyDoesNotStarveOurWork) {
  HostWork host(kRedraw);
  int steps = 0;
  TaskSource taskSource(nullptr, Order::blocks, [&] { return ++steps < 1000; });
  taskSource.ready();
  EXPECT_TRUE(runMainLoopUntil([&] { return steps == 1000; }));
  EXPECT_LE(host.dispatches, 1000);
}

TEST(MainLoopThrottleTest, NewWorkRunsInTheNextIteration) {
  int steps = 0;
  TaskSource taskSource(nullptr, Order::blocks, [&] {
    ++steps;
    return false;
  });
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
  taskSource.ready();
  g_main_context_iteration(nullptr, FALSE);
  EXPECT_EQ(steps, 1);
}

TEST(MainLoopThrottleTest, WorkFromOtherThreadsIsNeverLost) {
  std::atomic<int> waiting{0};
  int done = 0;
  TaskSource taskSource(nullptr, Order::blocks, [&] {
    if (waiting == 0) return false;
    ++done;
    return --waiting > 0;
  });
  std::thread other([&] {
    for (int i = 0; i < 20000; ++i) {
      ++waiting;
      taskSource.ready();
    }
  });
  EXPECT_TRUE(runMainLoopUntil([&] { return done == 20000; }));
  other.join();
}

TEST(MainLoopThrottleTest, AStepMayThrowAndMayDestroyItsTaskSource) {
  int steps = 0;
  std::optional<TaskSource> taskSource;
  taskSource.emplace(nullptr, Order::blocks, [&]() -> bool {
    if (++steps == 1) {
      taskSource->ready();
      throw std::runtime_error("thrown");
    }
    taskSource.reset();
    return true;
  });
  taskSource->ready();
  ASSERT_TRUE(runMainLoopUntil([&] { return !taskSource; }));
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
  EXPECT_EQ(steps, 2);
}

}  // namespace
}  // namespace wevora::platform
