#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>

#include "Platform/Base/Mutex.h"
#include "Platform/Dispatch/Dispatch.h"
#include "Platform/Dispatch/WorkerPool.h"

namespace wevora::platform {

/// OperationQueue on a WorkerPool.
/// Ownership: stays alive while one of its operations runs.
class PriorityOperationQueue : public OperationQueue,
                               public std::enable_shared_from_this<PriorityOperationQueue> {
 public:
  static std::shared_ptr<PriorityOperationQueue> create(std::shared_ptr<WorkerPool> pool,
                                                        std::size_t maxConcurrent);

  void addOperation(std::shared_ptr<Operation> operation) override;
  std::size_t operationCount() const override { return unfinished_.load(); }
  void cancelAllOperations() override;
  void waitUntilAllOperationsAreFinished() override;

 private:
  PriorityOperationQueue(std::shared_ptr<WorkerPool> pool, std::size_t maxConcurrent)
      : pool_(std::move(pool)), maxConcurrent_(maxConcurrent) {}

  using PendingOperations = std::map<int, std::deque<std::shared_ptr<Operation>>, std::greater<>>;

  WorkerPool::Afterwards runOne();
  std::shared_ptr<Operation> takeNext() REQUIRES(mutex_);

  const std::shared_ptr<WorkerPool> pool_;
  const std::size_t maxConcurrent_;
  std::atomic<std::size_t> unfinished_{0};
  Mutex mutex_;
  Condition finished_;
  PendingOperations pending_ GUARDED_BY(mutex_);
  std::size_t runners_ GUARDED_BY(mutex_) = 0;
};

}  // namespace wevora::platform
