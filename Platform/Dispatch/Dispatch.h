#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

namespace wevora::platform {

/// Work for a queue. What it throws ends with it, silently.
using Block = std::function<void()>;

/// A block that waits for its time.
/// Threads: any. Owns: nothing. Errors: none.
class DelayedBlock {
 public:
  virtual ~DelayedBlock() = default;
  /// Queues the block now, if it has not been queued yet.
  virtual void expedite() = 0;
};

/// Runs blocks one at a time, in the order in which they came.
/// Threads: blocks may be given from any. Owns: the blocks that have not run.
/// Errors: none; a block given to a queue that has ended is dropped.
class Queue {
 public:
  virtual ~Queue() = default;
  virtual void async(Block block) = 0;
  /// Runs the block here once `delay` has passed. The block is held until then, whether the
  /// answer is kept or not.
  virtual std::shared_ptr<DelayedBlock> after(std::chrono::nanoseconds delay, Block block) = 0;
};

/// One piece of work for an operation queue.
/// Threads: `main` runs on one worker thread. Owns: as its kind. Errors: what `main` throws ends
/// there, silently.
class Operation {
 public:
  virtual ~Operation() = default;
  virtual void main() = 0;

  /// Higher runs earlier. The scale: very low -8, low -4, normal 0, high 4, very high 8.
  int queuePriority() const { return queuePriority_; }
  void setQueuePriority(int priority) { queuePriority_ = priority; }

  /// 0.0 (the least) to 1.0; 0.5 is that of the process's other threads.
  double threadPriority() const { return threadPriority_; }
  void setThreadPriority(double priority) { threadPriority_ = priority; }

 private:
  int queuePriority_ = 0;
  double threadPriority_ = 0.5;
};

/// Runs operations on worker threads, by priority and then in the order in which they came.
/// Threads: any. Owns: the operations that have not finished. Errors: none.
class OperationQueue {
 public:
  virtual ~OperationQueue() = default;
  virtual void addOperation(std::shared_ptr<Operation> operation) = 0;
  /// Operations that have not finished, running ones included.
  virtual std::size_t operationCount() const = 0;
  /// Drops every operation that has not started.
  virtual void cancelAllOperations() = 0;
  /// Blocks the caller until `operationCount` is 0. Not to be called from an operation.
  virtual void waitUntilAllOperationsAreFinished() = 0;
};

/// Where queues come from.
/// Threads: any. Owns: the main queue and the worker threads; serial and operation queues belong
/// to who asked for them. Errors: none.
class Dispatch {
 public:
  virtual ~Dispatch() = default;
  /// The queue whose blocks run on the main thread, from its main loop.
  virtual Queue& mainQueue() = 0;
  virtual std::shared_ptr<Queue> serialQueue(std::string_view name) = 0;
  virtual std::shared_ptr<OperationQueue> operationQueue(std::size_t maxConcurrent) = 0;
};

}  // namespace wevora::platform
