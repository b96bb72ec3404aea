#include <atomic>
#include <future>
#include <latch>
#include <semaphore>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>

#include <glib.h>
#include <gtest/gtest.h>

#include "Platform/Dispatch/GLibDispatch.h"
#include "Tests/Doubles/ManualDispatch.h"

namespace wevora::platform {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using std::chrono_literals::operator""h;

class Work : public Operation {
 public:
  explicit Work(Block body, int queuePriority = 0, double threadPriority = 0.5)
      : body_(std::move(body)) {
    setQueuePriority(queuePriority);
    setThreadPriority(threadPriority);
  }
  void main() override { body_(); }

 private:
  Block body_;
};

std::shared_ptr<Operation> work(Block body, int queuePriority = 0, double threadPriority = 0.5) {
  return std::make_shared<Work>(std::move(body), queuePriority, threadPriority);
}

/// Iterates the main loop until the condition holds.
template <class Condition>
void iterateUntil(Condition condition) {
  while (!condition()) g_main_context_iteration(nullptr, TRUE);
}

TEST(GLibMainQueue, RunsBlocksOnTheMainLoopInFifoOrder) {
  GLibDispatch dispatch;
  std::vector<int> order;
  std::vector<std::thread::id> threads;
  std::thread([&] {
    for (int i = 0; i < 200; ++i)
      dispatch.mainQueue().async([&, i] {
        order.push_back(i);
        threads.push_back(std::this_thread::get_id());
      });
  }).join();
  EXPECT_TRUE(order.empty());
  iterateUntil([&] { return order.size() == 200; });
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  EXPECT_EQ(std::count(threads.begin(), threads.end(), std::this_thread::get_id()), 200);
}

TEST(GLibMainQueue, OtherSourcesRunDuringABurstOfBlocks) {
  GLibDispatch dispatch;
  int ran = 0;
  int ranBeforeOther = -1;
  for (int i = 0; i < 1000; ++i) dispatch.mainQueue().async([&] { ++ran; });
  g_timeout_add_full(
      G_PRIORITY_DEFAULT, 0,
      +[](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>([&] { ranBeforeOther = ran; }),
      +[](gpointer data) { delete static_cast<std::function<void()>*>(data); });
  iterateUntil([&] { return ran == 1000; });
  EXPECT_GE(ranBeforeOther, 0);
  EXPECT_LT(ranBeforeOther, 1000);
}

TEST(GLibMainQueue, ABlockThatThrowsDoesNotStopTheNext) {
  GLibDispatch dispatch;
  bool next = false;
  dispatch.mainQueue().async([] { throw std::runtime_error("from a block"); });
  dispatch.mainQueue().async([&] { next = true; });
  iterateUntil([&] { return next; });
}

TEST(GLibMainQueue, ADelayedBlockRunsOnTheMainLoopAndCanBeExpedited) {
  GLibDispatch dispatch;
  bool soon = false;
  bool expedited = false;
  dispatch.mainQueue().after(1ms, [&] { soon = true; });
  const auto late = dispatch.mainQueue().after(1h, [&] { expedited = true; });
  iterateUntil([&] { return soon; });
  EXPECT_FALSE(expedited);
  late->expedite();
  iterateUntil([&] { return expedited; });
}

TEST(GLibSerialQueue, RunsOneBlockAtATimeInOrder) {
  GLibDispatch dispatch;
  const auto queue = dispatch.serialQueue("serial");
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  std::vector<int> order;
  std::promise<void> done;
  for (int i = 0; i < 500; ++i)
    queue->async([&, i] {
      if (++inside != 1) overlapped = true;
      order.push_back(i);
      --inside;
    });
  queue->async([&] { done.set_value(); });
  done.get_future().wait();
  EXPECT_FALSE(overlapped);
  EXPECT_EQ(order.size(), 500U);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(GLibSerialQueue, ABlockThatThrowsDoesNotStopTheNext) {
  GLibDispatch dispatch;
  const auto queue = dispatch.serialQueue("serial");
  std::promise<void> done;
  queue->async([] { throw std::runtime_error("from a block"); });
  queue->async([&] { done.set_value(); });
  done.get_future().wait();
}

TEST(GLibSerialQueue, ADelayedBlockKeepsItsQueueAliveAndRunsOnceWhenExpedited) {
  GLibDispatch dispatch;
  std::atomic<int> runs{0};
  std::binary_semaphore ran{0};
  auto queue = dispatch.serialQueue("serial");
  const auto delayed = queue->after(1h, [&] {
    ++runs;
    ran.release();
  });
  queue.reset();
  delayed->expedite();
  ran.acquire();
  delayed->expedite();
  EXPECT_EQ(runs, 1);
}

TEST(GLibDispatch, DropsPendingBlocksWhenItEnds) {
  const auto witness = std::make_shared<int>(0);
  {
    GLibDispatch dispatch;
    const auto queue = dispatch.serialQueue("serial");
    queue->after(1h, [witness] {});
    dispatch.mainQueue().async([witness] {});
    std::binary_semaphore started{0};
    queue->async([&] { started.release(); });
    started.acquire();
    EXPECT_GT(witness.use_count(), 1);
  }
  EXPECT_EQ(witness.use_count(), 1);
}

TEST(GLibOperationQueue, NeverExceedsItsMaximumConcurrency) {
  GLibDispatch dispatch;
  const auto queue = dispatch.operationQueue(3);
  std::atomic<int> inside{0};
  std::atomic<int> most{0};
  std::latch three(3);
  for (int i = 0; i < 50; ++i)
    queue->addOperation(work([&, i] {
      int now = ++inside;
      int seen = most;
      while (now > seen && !most.compare_exchange_weak(seen, now)) {
      }
      if (i < 3) three.arrive_and_wait();
      --inside;
    }));
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(most, 3);
}

TEST(GLibOperationQueue, RunsHigherPrioritiesFirstAndEqualOnesInOrder) {
  GLibDispatch dispatch;
  const auto queue = dispatch.operationQueue(1);
  std::binary_semaphore go{0};
  std::vector<int> order;
  queue->addOperation(work([&] { go.acquire(); }));
  const std::vector<std::pair<int, int>> added = {{-8, 6}, {-4, 4}, {0, 3},
                                                  {8, 1},  {4, 2},  {-4, 5}};
  for (const auto& [priority, place] : added)
    queue->addOperation(work([&order, place = place] { order.push_back(place); }, priority));
  go.release();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4, 5, 6}));
}

TEST(GLibOperationQueue, CountsRunningOperationsAndDropsCancelledOnesAtOnce) {
  GLibDispatch dispatch;
  const auto queue = dispatch.operationQueue(1);
  std::binary_semaphore started{0};
  std::binary_semaphore go{0};
  std::atomic<int> ran{0};
  queue->addOperation(work([&] {
    started.release();
    go.acquire();
  }));
  started.acquire();
  for (int i = 0; i < 4; ++i) queue->addOperation(work([&] { ++ran; }));
  EXPECT_EQ(queue->operationCount(), 5U);
  queue->cancelAllOperations();
  EXPECT_EQ(queue->operationCount(), 1U);
  go.release();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(queue->operationCount(), 0U);
  EXPECT_EQ(ran, 0);
}

TEST(GLibOperationQueue, AnOperationThatThrowsIsFinished) {
  GLibDispatch dispatch;
  const auto queue = dispatch.operationQueue(2);
  queue->addOperation(work([] { throw std::runtime_error("from an operation"); }));
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(queue->operationCount(), 0U);
}

TEST(GLibOperationQueue, ThreadPriorityIsTheNicenessOfTheWorkerWhileItRunsTheOperation) {
  GLibDispatch dispatch;
  const auto queue = dispatch.operationQueue(1);
  const int base = ::getpriority(PRIO_PROCESS, 0);
  std::vector<int> niceness;
  for (const double priority : {0.1, 0.5, 0.3, 0.5, 0.0, 0.5})
    queue->addOperation(
        work([&] { niceness.push_back(::getpriority(PRIO_PROCESS, 0) - base); }, 0, priority));
  queue->waitUntilAllOperationsAreFinished();
  // The kernel limits niceness to 19; this process may start with a raised niceness.
  std::vector<int> wanted = {15, 0, 8, 0, 19, 0};
  for (int& step : wanted) step = std::min(step, 19 - base);
  EXPECT_EQ(niceness, wanted);
}

TEST(GLibOperationQueue, LosesNoneOfThousandsOfSmallOperations) {
  GLibDispatch dispatch;
  const auto queue = dispatch.operationQueue(8);
  std::atomic<int> ran{0};
  for (int i = 0; i < 5000; ++i) queue->addOperation(work([&] { ++ran; }, i % 3, 0.3));
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(ran, 5000);
}

TEST(ManualDispatch, RunsDelayedBlocksAtTheirVirtualTimeAndInOrder) {
  VirtualClock clock;
  ManualDispatch dispatch(clock);
  const auto queue = dispatch.serialQueue("serial");
  std::vector<std::pair<int, std::chrono::nanoseconds>> ran;
  queue->after(2s, [&] { ran.emplace_back(2, clock.uptime()); });
  dispatch.mainQueue().after(1s, [&] {
    ran.emplace_back(1, clock.uptime());
    queue->after(500ms, [&] { ran.emplace_back(3, clock.uptime()); });
  });
  dispatch.advance(999ms);
  EXPECT_TRUE(ran.empty());
  dispatch.advance(10s);
  EXPECT_EQ(ran,
            (std::vector<std::pair<int, std::chrono::nanoseconds>>{{1, 1s}, {3, 1500ms}, {2, 2s}}));
  EXPECT_EQ(clock.uptime(), 10999ms);
}

TEST(ManualDispatch, ExpeditedBlocksAreQueuedAtOnceAndOnlyOnce) {
  VirtualClock clock;
  ManualDispatch dispatch(clock);
  int runs = 0;
  const auto queue = dispatch.serialQueue("serial");
  const auto delayed = queue->after(2s, [&] { ++runs; });
  delayed->expedite();
  delayed->expedite();
  EXPECT_EQ(dispatch.delayed(), 0U);
  dispatch.advance(5s);
  EXPECT_EQ(runs, 1);
}

TEST(ManualDispatch, OperationsRunByPriority) {
  VirtualClock clock;
  ManualDispatch dispatch(clock);
  const auto queue = dispatch.operationQueue(8);
  std::vector<int> order;
  for (const int priority : {-4, 8, 0})
    queue->addOperation(work([&order, priority] { order.push_back(priority); }, priority));
  EXPECT_EQ(queue->operationCount(), 3U);
  dispatch.runAll();
  EXPECT_EQ(order, (std::vector<int>{8, 0, -4}));
}

}  // namespace
}  // namespace wevora::platform
