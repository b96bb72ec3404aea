#pragma once

#include <chrono>
#include <deque>
#include <list>
#include <map>
#include <memory>
#include <thread>
#include <vector>

#include "Platform/Base/Mutex.h"
#include "Platform/Dispatch/Dispatch.h"

namespace wevora::platform {

/// Worker threads that start on demand, and a timekeeper thread that runs timers and starts and
/// joins the workers. The first job starts the timekeeper; an unused pool has no threads.
///
/// Only the timekeeper starts workers. A thread inherits its creator's niceness, and an
/// unprivileged process cannot lower a niceness that a worker has raised.
///
/// Thread-safety: any thread; `stop` must not run on a worker.
/// Errors: drops jobs that are added after `stop`.
class WorkerPool : public std::enable_shared_from_this<WorkerPool> {
 public:
  /// What a worker does after a job: take the next job, or end its thread.
  enum class Afterwards { stay, retire };
  using Job = std::function<Afterwards()>;

  ~WorkerPool();

  void run(Job job);
  /// Calls `callback` on the timekeeper thread after the delay, or on the calling thread of
  /// DelayedBlock::expedite. `callback` must not block.
  std::shared_ptr<DelayedBlock> after(std::chrono::nanoseconds delay, Block callback);
  /// Drops pending jobs and timers, and waits for running jobs.
  void stop();

 private:
  using Time = std::chrono::steady_clock::time_point;
  class Delayed;
  using Timers = std::multimap<Time, std::shared_ptr<Delayed>>;
  using Threads = std::list<std::thread>;

  void startTimekeeper() REQUIRES(mutex_);
  void keepTime();
  /// False if the system cannot start a thread now; the timekeeper retries after kThreadRetry.
  bool startWorkers() REQUIRES(mutex_);
  void work(Threads::iterator self);
  void expedite(const std::shared_ptr<Delayed>& delayed);

  static constexpr std::size_t kMaxIdleWorkers = 8;
  static constexpr std::chrono::milliseconds kThreadRetry{100};

  Mutex mutex_;
  Condition workArrived_;
  Condition timekeeperWakeup_;
  std::deque<Job> jobs_ GUARDED_BY(mutex_);
  Timers timers_ GUARDED_BY(mutex_);
  Threads workers_ GUARDED_BY(mutex_);
  Threads ended_ GUARDED_BY(mutex_);
  std::size_t idle_ GUARDED_BY(mutex_) = 0;
  std::size_t starting_ GUARDED_BY(mutex_) = 0;
  bool stopping_ GUARDED_BY(mutex_) = false;
  std::thread timekeeper_ GUARDED_BY(mutex_);
};

}  // namespace wevora::platform
