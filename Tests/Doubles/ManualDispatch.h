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

/// A queue that a test runs by hand.
/// Threads: one. Owns: its blocks. Errors: what a block throws is dropped, as everywhere.
class ManualQueue : public Queue, public std::enable_shared_from_this<ManualQueue> {
 public:
  ManualQueue(std::shared_ptr<ManualAgenda> agenda, std::string_view name)
      : agenda_(std::move(agenda)), name_(name) {}

  void async(Block block) override { blocks_.push_back(std::move(block)); }
  std::shared_ptr<DelayedBlock> after(std::chrono::nanoseconds delay, Block block) override;

  const std::string& name() const { return name_; }
  std::size_t pending() const { return blocks_.size(); }
  /// Runs the oldest block; false when there is none.
  bool runNext();
  /// Runs until no block is left; answers how many ran.
  std::size_t runAll();
  /// Drops what has not run.
  void clear() { std::deque<Block>().swap(blocks_); }

 private:
  std::shared_ptr<ManualAgenda> agenda_;
  std::string name_;
  std::deque<Block> blocks_;
};

/// An operation queue that a test runs by hand, one operation after the other.
/// Threads: one. Owns: its operations. Errors: what an operation throws is dropped.
class ManualOperationQueue : public OperationQueue {
 public:
  void addOperation(std::shared_ptr<Operation> operation) override;
  std::size_t operationCount() const override;
  void cancelAllOperations() override { waiting_.clear(); }
  void waitUntilAllOperationsAreFinished() override;

  /// The operation that would run next, or none.
  std::shared_ptr<Operation> next() const;
  bool runNext();

 private:
  std::map<int, std::deque<std::shared_ptr<Operation>>, std::greater<>> waiting_;
  std::size_t running_ = 0;
};

/// Queues in virtual time: nothing runs but what the test runs, in an order that is always the
/// same.
/// Threads: one. Owns: the main queue and the blocks that wait for their time.
/// Errors: none.
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
  /// The serial queues of a name, oldest first; one that is idle and let go of may be missing.
  std::vector<std::shared_ptr<ManualQueue>> serialQueues(std::string_view name) const;
  /// The operation queue that was asked for last.
  ManualOperationQueue& lastOperationQueue() { return *operationQueues_.back().lock(); }

  /// Runs every serial queue and every operation until all are idle; the main queue stays.
  void runBackground();
  /// Runs everything until all is idle.
  void runAll();
  /// Moves the clock, stopping at each delayed block to queue it and run everything.
  void advance(std::chrono::nanoseconds step);
  /// Blocks that wait for their time, on any queue.
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
