#include "Platform/Dispatch/WorkerPool.h"

#include <csignal>
#include <pthread.h>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

/// Starts a thread with all signals blocked: the host's own threads must handle them.
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
      : callback(std::move(block)), pool_(std::move(pool)) {}

  void expedite() override {
    if (const auto pool = pool_.lock()) pool->expedite(shared_from_this());
  }

  Block callback;
  Time time;

 private:
  std::weak_ptr<WorkerPool> pool_;
};

WorkerPool::~WorkerPool() {
  stop();
}

void WorkerPool::run(Job job) {
  Condition* condition = nullptr;
  {
    const MutexLock lock(mutex_);
    if (stopping_) return;
    jobs_.push_back(std::move(job));
    if (jobs_.size() <= idle_) {
      condition = &workArrived_;
    } else if (jobs_.size() > idle_ + starting_) {
      ++starting_;
      startTimekeeper();
      condition = &timekeeperWakeup_;
    }
  }
  // Notify after unlocking, so that the woken thread does not block on the mutex at once.
  if (condition != nullptr) condition->notify_one();
}

std::shared_ptr<DelayedBlock> WorkerPool::after(std::chrono::nanoseconds delay, Block callback) {
  auto delayed = std::make_shared<Delayed>(weak_from_this(), std::move(callback));
  delayed->time = std::chrono::steady_clock::now() + delay;
  const MutexLock lock(mutex_);
  if (stopping_) return delayed;
  const auto place = timers_.emplace(delayed->time, delayed);
  startTimekeeper();
  if (place == timers_.begin()) timekeeperWakeup_.notify_one();
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
  catchAll(delayed->callback);
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
      for (const auto& delayed : due) catchAll(delayed->callback);
      due.clear();
      for (auto& thread : ended) thread.join();
      lock.lock();
    } else if (!started) {
      timekeeperWakeup_.wait_until(lock, now + kThreadRetry);
    } else if (timers_.empty()) {
      timekeeperWakeup_.wait(lock);
    } else {
      const Time next = timers_.begin()->first;
      timekeeperWakeup_.wait_until(lock, next);
    }
  }
}

bool WorkerPool::startWorkers() {
  for (; starting_ > 0; --starting_) {
    workers_.emplace_back();
    const auto self = std::prev(workers_.end());
    // Count the worker as idle before its thread runs, so that a job that arrives meanwhile does
    // not start another worker.
    ++idle_;
    try {
      *self = startedThread("wevora-worker", [this, self] { work(self); });
    } catch (...) {  // The system is out of threads; keepTime retries.
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
    while (!stopping_ && jobs_.empty()) workArrived_.wait(lock);
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
  // The timekeeper joins ended workers; once the pool stops, `stop` joins them.
  if (stopping_) return;
  if (jobs_.size() > idle_ + starting_) ++starting_;
  ended_.splice(ended_.end(), workers_, self);
  timekeeperWakeup_.notify_one();
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
    workArrived_.notify_all();
    timekeeperWakeup_.notify_all();
  }
  // Join the timekeeper first: after that only this function starts or joins workers.
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
