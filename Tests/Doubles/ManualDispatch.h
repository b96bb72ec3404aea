#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Dispatch/Dispatch.h"
#include "Tests/Doubles/VirtualClock.h"

namespace wevora::platform {

class ManualAgenda;

/// A fake queue whose blocks run only when the test runs them.
/// Errors: exceptions of blocks are caught and dropped, as by real queues.
class ManualQueue : public Queue, public std::enable_shared_from_this<ManualQueue> {
 public:
  ManualQueue(std::shared_ptr<ManualAgenda> agenda, std::string_view name)
      : agenda_(std::move(agenda)), name_(name) {}

  void async(Block block) override { blocks_.push_back(std::move(block)); }
  std::shared_ptr<DelayedBlock> after(std::chrono::nanoseconds delay, Block block) override;

  const std::string& name() const { return name_; }
  std::size_t pending() const { return blocks_.size(); }
  /// Runs the oldest block; false if the queue is empty.
  bool runNext();
  /// Runs blocks until the queue is empty; returns their number.
  std::size_t runAll();
  /// Drops the pending blocks.
  void clear() { std::deque<Block>().swap(blocks_); }

 private:
  std::shared_ptr<ManualAgenda> agenda_;
  std::string name_;
  std::deque<Block> blocks_;
};

/// A fake operation queue whose operations run only when the test runs them, one at a time.
/// Errors: exceptions of operations are caught and dropped.
class ManualOperationQueue : public OperationQueue {
 public:
  void addOperation(std::shared_ptr<Operation> operation) override;
  std::size_t operationCount() const override;
  void cancelAllOperations() override { waiting_.clear(); }
  void waitUntilAllOperationsAreFinished() override;

  /// The operation that would run next; null if the queue is empty.
  std::shared_ptr<Operation> next() const;
  bool runNext();

 private:
  std::map<int, std::deque<std::shared_ptr<Operation>>, std::greater<>> waiting_;
  std::size_t running_ = 0;
};

/// A fake dispatch in virtual time: blocks run only when the test runs them, in a deterministic
/// order.
class ManualDispatch : public Dispatch {
 public:
  explicit ManualDispatch(VirtualClock& clock);
  ~ManualDispatch() override;
  ManualDispatch(const ManualDispatch&) = delete;
  ManualDispatch& operator=(const ManualDispatch&) = delete;

  Queue& mainQueue() override { return *main_; }
  std::shared_ptr<Queue> serialQueue(std::string_view name) override;
  std::shared_ptr<OperationQueue> operationQueue(std::size_t maxConcurrent) override;

  ManualQueue& manualMainQueue() { return *main_; }
  /// The serial queues with a name, oldest first; a released idle queue may be missing.
  std::vector<std::shared_ptr<ManualQueue>> serialQueues(std::string_view name) const;
  /// The operation queue that was created last.
  ManualOperationQueue& lastOperationQueue() { return *operationQueues_.back().lock(); }

  /// Runs all serial queues and operation queues, but not the main queue, until they are idle.
  void runBackground();
  /// Runs all queues until they are idle.
  void runAll();
  /// Advances the clock, stopping at each delayed block to queue it and run all queues.
  void advance(std::chrono::nanoseconds step);
  /// The number of delayed blocks that are not due yet, on all queues.
  std::size_t delayed() const;

 private:
  bool runBackgroundOnce();

  VirtualClock& clock_;
  std::shared_ptr<ManualAgenda> agenda_;
  std::shared_ptr<ManualQueue> main_;
  std::vector<std::shared_ptr<ManualQueue>> serialQueues_;
  std::vector<std::weak_ptr<ManualOperationQueue>> operationQueues_;
};

}  // namespace wevora::platform
