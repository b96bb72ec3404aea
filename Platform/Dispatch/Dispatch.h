#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

namespace wevora::platform {

/// Work for a queue. The queue discards exceptions that the block throws.
using Block = std::function<void()>;

/// A block that is queued after a delay.
/// Thread-safety: any thread.
class DelayedBlock {
 public:
  virtual ~DelayedBlock() = default;
  /// Queues the block at once, unless it has already been queued.
  virtual void expedite() = 0;
};

/// Runs blocks one at a time, in FIFO order.
/// Thread-safety: any thread.
/// Errors: drops blocks that are added after the dispatch has ended.
class Queue {
 public:
  virtual ~Queue() = default;
  virtual void async(Block block) = 0;
  /// Queues the block once `delay` has passed. The caller need not keep the returned handle.
  virtual std::shared_ptr<DelayedBlock> after(std::chrono::nanoseconds delay, Block block) = 0;
};

/// A unit of work for an operation queue.
/// Thread-safety: `main` runs once, on a worker thread.
/// Errors: the queue discards exceptions thrown by `main`.
class Operation {
 public:
  virtual ~Operation() = default;
  virtual void main() = 0;

  /// Higher runs earlier. The scale: very low -8, low -4, normal 0, high 4, very high 8.
  int queuePriority() const { return queuePriority_; }
  void setQueuePriority(int priority) { queuePriority_ = priority; }

  /// 0.0 (lowest) to 1.0; 0.5 is the priority of the process's other threads.
  double threadPriority() const { return threadPriority_; }
  void setThreadPriority(double priority) { threadPriority_ = priority; }

 private:
  int queuePriority_ = 0;
  double threadPriority_ = 0.5;
};

/// Runs operations on worker threads, highest priority first, FIFO within a priority.
/// Thread-safety: any thread.
/// Ownership: keeps each operation until it has finished.
class OperationQueue {
 public:
  virtual ~OperationQueue() = default;
  virtual void addOperation(std::shared_ptr<Operation> operation) = 0;
  /// The number of operations that have not finished, including running ones.
  virtual std::size_t operationCount() const = 0;
  /// Drops every operation that has not started.
  virtual void cancelAllOperations() = 0;
  /// Blocks the caller until `operationCount` is 0. Deadlocks if an operation calls it.
  virtual void waitUntilAllOperationsAreFinished() = 0;
};

/// Factory of queues.
/// Thread-safety: any thread.
/// Ownership: owns the main queue and the worker threads; callers own serial and operation queues.
class Dispatch {
 public:
  virtual ~Dispatch() = default;
  /// The queue whose blocks run on the main thread, from the main loop.
  virtual Queue& mainQueue() = 0;
  virtual std::shared_ptr<Queue> serialQueue(std::string_view name) = 0;
  virtual std::shared_ptr<OperationQueue> operationQueue(std::size_t maxConcurrent) = 0;
};

}  // namespace wevora::platform
