#include "Platform/Dispatch/PriorityOperationQueue.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <sys/resource.h>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

/// The change of niceness for a thread priority: 0 for 0.5, +19 for 0.0, -19 for 1.0.
int nicenessFor(double threadPriority) {
  const double p = std::clamp(threadPriority, 0.0, 1.0);
  return static_cast<int>(std::lround((0.5 - p) * 38.0));
}

/// Changes the niceness of the calling thread and restores it.
/// Errors: ignores a change that the kernel rejects.
class Niceness {
 public:
  explicit Niceness(int steps) {
    errno = 0;
    const int now = ::getpriority(PRIO_PROCESS, 0);  // 0 is the calling thread on Linux
    if (errno != 0 || steps == 0) return;
    base_ = now;
    changed_ = ::setpriority(PRIO_PROCESS, 0, std::clamp(now + steps, -20, 19)) == 0;
  }
  /// False if the kernel refuses to restore the niceness.
  bool restore() const { return !changed_ || ::setpriority(PRIO_PROCESS, 0, base_) == 0; }

 private:
  int base_ = 0;
  bool changed_ = false;
};

}  // namespace

std::shared_ptr<PriorityOperationQueue> PriorityOperationQueue::create(
    std::shared_ptr<WorkerPool> pool, std::size_t maxConcurrent) {
  return std::shared_ptr<PriorityOperationQueue>(
      new PriorityOperationQueue(std::move(pool), maxConcurrent));
}

void PriorityOperationQueue::addOperation(std::shared_ptr<Operation> operation) {
  {
    const MutexLock lock(mutex_);
    pending_[operation->queuePriority()].push_back(std::move(operation));
    ++unfinished_;
    if (runners_ == maxConcurrent_) return;
    ++runners_;
  }
  pool_->run([self = shared_from_this()] { return self->runOne(); });
}

std::shared_ptr<Operation> PriorityOperationQueue::takeNext() {
  if (pending_.empty()) return nullptr;
  const auto highest = pending_.begin();
  auto operation = std::move(highest->second.front());
  highest->second.pop_front();
  if (highest->second.empty()) pending_.erase(highest);
  return operation;
}

WorkerPool::Afterwards PriorityOperationQueue::runOne() {
  std::shared_ptr<Operation> operation;
  {
    const MutexLock lock(mutex_);
    operation = takeNext();
    if (!operation) {
      --runners_;
      return WorkerPool::Afterwards::stay;
    }
  }
  const Niceness niceness(nicenessFor(operation->threadPriority()));
  catchAll([&] { operation->main(); });
  operation.reset();
  const bool restored = niceness.restore();
  bool more = false;
  {
    const MutexLock lock(mutex_);
    if (--unfinished_ == 0) finished_.notify_all();
    more = !pending_.empty();
    if (!more) --runners_;
  }
  if (more) pool_->run([self = shared_from_this()] { return self->runOne(); });
  return restored ? WorkerPool::Afterwards::stay : WorkerPool::Afterwards::retire;
}

void PriorityOperationQueue::cancelAllOperations() {
  PendingOperations cancelled;
  const MutexLock lock(mutex_);
  cancelled.swap(pending_);
  for (const auto& [priority, operations] : cancelled) unfinished_ -= operations.size();
  if (unfinished_ == 0) finished_.notify_all();
}

void PriorityOperationQueue::waitUntilAllOperationsAreFinished() {
  MutexLock lock(mutex_);
  while (unfinished_ != 0) finished_.wait(lock);
}

}  // namespace wevora::platform
