#include "Platform/Dispatch/WorkerPool.h"

#include <csignal>
#include <pthread.h>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

/// Starts a thread that takes no signal: those are the host's business.
template <class Body>
std::thread startedThread(const char* name, Body body) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const ScopeExit restore([&] { pthread_sigmask(SIG_SETMASK, &before, nullptr); });
  std::thread thread(std::move(body));
  pthread_setname_np(thread.native_handle(), name);
  return thread;
}

}  // namespace

class WorkerPool::Delayed : public DelayedBlock, public std::enable_shared_from_this<Delayed> {
 public:
  Delayed(std::weak_ptr<WorkerPool> pool, Block block)
      : due(std::move(block)), pool_(std::move(pool)) {}

  void expedite() override {
    if (const auto pool = pool_.lock()) pool->expedite(shared_from_this());
  }

  Block due;
  Time time;

 private:
  std::weak_ptr<WorkerPool> pool_;
};

WorkerPool::~WorkerPool() {
  stop();
}

void WorkerPool::run(Job job) {
  Condition* awaited = nullptr;
  {
    const MutexLock lock(mutex_);
    if (stopping_) return;
    jobs_.push_back(std::move(job));
    if (jobs_.size() <= idle_) {
      awaited = &workCame_;
    } else if (jobs_.size() > idle_ + starting_) {
      ++starting_;
      startTimekeeper();
      awaited = &timekeeperWanted_;
    }
  }
  // Behind the lock, or the woken thread would at once wait for it.
  if (awaited != nullptr) awaited->notify_one();
}

std::shared_ptr<DelayedBlock> WorkerPool::at(std::chrono::nanoseconds delay, Block due) {
  auto delayed = std::make_shared<Delayed>(weak_from_this(), std::move(due));
  delayed->time = std::chrono::steady_clock::now() + delay;
  const MutexLock lock(mutex_);
  if (stopping_) return delayed;
  const auto place = timers_.emplace(delayed->time, delayed);
  startTimekeeper();
  if (place == timers_.begin()) timekeeperWanted_.notify_one();
  return delayed;
}

void WorkerPool::expedite(const std::shared_ptr<Delayed>& delayed) {
  {
    const MutexLock lock(mutex_);
    auto [from, to] = timers_.equal_range(delayed->time);
    while (from != to && from->second != delayed) ++from;
    if (from == to) return;
    timers_.erase(from);
  }
  catchAll(delayed->due);
}

void WorkerPool::startTimekeeper() {
  if (!timekeeper_.joinable()) timekeeper_ = startedThread("wevora-timer", [this] { keepTime(); });
}

void WorkerPool::keepTime() {
  MutexLock lock(mutex_);
  while (!stopping_) {
    const bool started = startWorkers();
    Threads ended = std::move(ended_);
    ended_.clear();
    std::vector<std::shared_ptr<Delayed>> due;
    const auto now = std::chrono::steady_clock::now();
    while (!timers_.empty() && timers_.begin()->first <= now) {
      due.push_back(std::move(timers_.begin()->second));
      timers_.erase(timers_.begin());
    }
    if (!due.empty() || !ended.empty()) {
      lock.unlock();
      for (const auto& delayed : due) catchAll(delayed->due);
      due.clear();
      for (auto& thread : ended) thread.join();
      lock.lock();
    } else if (!started) {
      timekeeperWanted_.wait_until(lock, now + kThreadRetry);
    } else if (timers_.empty()) {
      timekeeperWanted_.wait(lock);
    } else {
      const Time next = timers_.begin()->first;
      timekeeperWanted_.wait_until(lock, next);
    }
  }
}

bool WorkerPool::startWorkers() {
  for (; starting_ > 0; --starting_) {
    workers_.emplace_back();
    const auto self = std::prev(workers_.end());
    // Counted as idle from here on, so that a job that comes before the thread runs wakes it
    // rather than another new one.
    ++idle_;
    try {
      *self = startedThread("wevora-worker", [this, self] { work(self); });
    } catch (...) {  // No thread can be had now.
      workers_.erase(self);
      --idle_;
      return false;
    }
  }
  return true;
}

void WorkerPool::work(Threads::iterator self) {
  MutexLock lock(mutex_);
  for (;;) {
    while (!stopping_ && jobs_.empty()) workCame_.wait(lock);
    --idle_;
    if (stopping_) break;
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    const Afterwards afterwards = catchAllOr(Afterwards::stay, job);
    job = nullptr;
    lock.lock();
    if (stopping_ || afterwards == Afterwards::retire || idle_ >= kMaxIdleWorkers) break;
    ++idle_;
  }
  // `stop` joins what it finds in workers_; while the pool lives, the timekeeper does.
  if (stopping_) return;
  if (jobs_.size() > idle_ + starting_) ++starting_;
  ended_.splice(ended_.end(), workers_, self);
  timekeeperWanted_.notify_one();
}

void WorkerPool::stop() {
  std::deque<Job> jobs;
  Timers timers;
  Threads threads;
  {
    const MutexLock lock(mutex_);
    stopping_ = true;
    jobs.swap(jobs_);
    timers.swap(timers_);
    if (timekeeper_.joinable()) threads.push_back(std::move(timekeeper_));
    workCame_.notify_all();
    timekeeperWanted_.notify_all();
  }
  // The timekeeper first: after it nobody starts or joins a worker but this function.
  for (auto& thread : threads) thread.join();
  threads.clear();
  {
    const MutexLock lock(mutex_);
    threads.splice(threads.end(), workers_);
    threads.splice(threads.end(), ended_);
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace wevora::platform
