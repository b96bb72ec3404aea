#include "Platform/Dispatch/GLibDispatch.h"

#include <deque>
#include <string>
#include <utility>

#include "Platform/Base/Guard.h"
#include "Platform/Base/Mutex.h"
#include "Platform/Dispatch/MainLoopThrottle.h"
#include "Platform/Dispatch/PriorityOperationQueue.h"
#include "Platform/Dispatch/WorkerPool.h"

namespace wevora::platform {
namespace {

/// Adds the block to the queue after the delay, unless the queue has been destroyed by then.
std::shared_ptr<DelayedBlock> queueLater(WorkerPool& pool, std::weak_ptr<Queue> weak,
                                         std::chrono::nanoseconds delay, Block block) {
  auto held = std::make_shared<Block>(std::move(block));
  return pool.after(delay, [weak = std::move(weak), held] {
    if (const auto queue = weak.lock()) queue->async(std::move(*held));
  });
}

class SerialQueue : public Queue, public std::enable_shared_from_this<SerialQueue> {
 public:
  SerialQueue(std::shared_ptr<WorkerPool> pool, std::string_view name)
      : pool_(std::move(pool)), name_(name) {}

  void async(Block block) override {
    {
      const MutexLock lock(mutex_);
      blocks_.push_back(std::move(block));
      if (draining_) return;
      draining_ = true;
    }
    pool_->run([job = std::make_shared<DrainJob>(shared_from_this())] {
      job->run();
      return WorkerPool::Afterwards::stay;
    });
  }

  std::shared_ptr<DelayedBlock> after(std::chrono::nanoseconds delay, Block block) override {
    // Unlike the main queue, a serial queue stays alive while one of its delayed blocks is pending.
    auto held = std::make_shared<Block>(std::move(block));
    return pool_->after(delay,
                        [self = shared_from_this(), held] { self->async(std::move(*held)); });
  }

 private:
  /// One drain of the queue on a worker. If the pool ends first, the destructor drops the pending
  /// blocks: they may own the queue's owner, which would be a reference cycle.
  class DrainJob {
   public:
    explicit DrainJob(std::shared_ptr<SerialQueue> queue) : queue_(std::move(queue)) {}
    ~DrainJob() {
      if (queue_) queue_->drop();
    }
    DrainJob(const DrainJob&) = delete;
    DrainJob& operator=(const DrainJob&) = delete;
    void run() { std::exchange(queue_, nullptr)->drain(); }

   private:
    std::shared_ptr<SerialQueue> queue_;
  };

  void drop() {
    std::deque<Block> dropped;
    const MutexLock lock(mutex_);
    dropped.swap(blocks_);
    draining_ = false;
  }

  void drain() {
    for (;;) {
      Block block;
      {
        const MutexLock lock(mutex_);
        if (blocks_.empty()) {
          draining_ = false;
          return;
        }
        block = std::move(blocks_.front());
        blocks_.pop_front();
      }
      catchAll(block);
    }
  }

  const std::shared_ptr<WorkerPool> pool_;
  const std::string name_;
  Mutex mutex_;
  std::deque<Block> blocks_ GUARDED_BY(mutex_);
  bool draining_ GUARDED_BY(mutex_) = false;
};

}  // namespace

class GLibDispatch::MainQueue : public Queue, public std::enable_shared_from_this<MainQueue> {
 public:
  explicit MainQueue(std::shared_ptr<WorkerPool> pool)
      : pool_(std::move(pool)),
        taskSource_(nullptr, MainLoopThrottle::Order::blocks, [this] { return runNext(); }) {}

  void async(Block block) override {
    {
      const MutexLock lock(mutex_);
      blocks_.push_back(std::move(block));
    }
    taskSource_.ready();
  }

  std::shared_ptr<DelayedBlock> after(std::chrono::nanoseconds delay, Block block) override {
    return queueLater(*pool_, weak_from_this(), delay, std::move(block));
  }

 private:
  bool runNext() {
    const auto alive = shared_from_this();  // the block may destroy the dispatch
    Block block;
    {
      const MutexLock lock(mutex_);
      if (blocks_.empty()) return false;
      block = std::move(blocks_.front());
      blocks_.pop_front();
    }
    if (block) catchAll(block);
    const MutexLock lock(mutex_);
    return !blocks_.empty();
  }

  const std::shared_ptr<WorkerPool> pool_;
  Mutex mutex_;
  std::deque<Block> blocks_ GUARDED_BY(mutex_);
  MainLoopThrottle::TaskSource taskSource_;
};

GLibDispatch::GLibDispatch()
    : pool_(std::make_shared<WorkerPool>()), mainQueue_(std::make_shared<MainQueue>(pool_)) {}

GLibDispatch::~GLibDispatch() {
  pool_->stop();
}

Queue& GLibDispatch::mainQueue() {
  return *mainQueue_;
}

std::shared_ptr<Queue> GLibDispatch::serialQueue(std::string_view name) {
  return std::make_shared<SerialQueue>(pool_, name);
}

std::shared_ptr<OperationQueue> GLibDispatch::operationQueue(std::size_t maxConcurrent) {
  return PriorityOperationQueue::create(pool_, maxConcurrent);
}

}  // namespace wevora::platform
