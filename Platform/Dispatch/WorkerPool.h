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

/// Worker threads that come when there is work, and one thread that keeps the time for delayed
/// blocks and starts the others. It starts with the first piece of work; until then the pool
/// costs nothing.
///
/// Workers are only ever started from the timekeeper, because a thread inherits the niceness of
/// its starter, and a worker whose niceness was raised may not be allowed to lower it again.
///
/// Threads: any; `stop` not from a worker. Owns: its threads and the work that has not run.
/// Errors: none; work given after `stop` is dropped.
class WorkerPool : public std::enable_shared_from_this<WorkerPool> {
 public:
  /// What a worker does after a job: take the next one, or end its thread.
  enum class Afterwards { stay, retire };
  using Job = std::function<Afterwards()>;

  ~WorkerPool();

  void run(Job job);
  /// Calls `due` on the timekeeper at its time; `due` must be quick. The answer can expedite it.
  std::shared_ptr<DelayedBlock> at(std::chrono::nanoseconds delay, Block due);
  /// Ends: drops what has not started and waits for what runs.
  void stop();

 private:
  using Time = std::chrono::steady_clock::time_point;
  class Delayed;
  using Timers = std::multimap<Time, std::shared_ptr<Delayed>>;
  using Threads = std::list<std::thread>;

  void startTimekeeper() REQUIRES(mutex_);
  void keepTime();
  /// False when the system gives no thread now; the rest is tried again in a moment.
  bool startWorkers() REQUIRES(mutex_);
  void work(Threads::iterator self);
  void expedite(const std::shared_ptr<Delayed>& delayed);

  static constexpr std::size_t kMaxIdleWorkers = 8;
  static constexpr std::chrono::milliseconds kThreadRetry{100};

  Mutex mutex_;
  Condition workCame_;
  Condition timekeeperWanted_;
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
