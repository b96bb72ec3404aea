#pragma once

#include <condition_variable>
#include <mutex>

#include "Platform/Base/ThreadAnnotations.h"

namespace wevora::platform {

/// std::mutex with annotations for clang's thread-safety analysis.
class CAPABILITY("mutex") Mutex {
 public:
  void lock() ACQUIRE() { mutex_.lock(); }
  void unlock() RELEASE() { mutex_.unlock(); }

 private:
  friend class Condition;
  std::mutex mutex_;
};

/// Locks a Mutex for a scope; may be unlocked and locked again within it.
class SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex), held_(true) { mutex_.lock(); }
  ~MutexLock() RELEASE() {
    if (held_) mutex_.unlock();
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void unlock() RELEASE() {
    held_ = false;
    mutex_.unlock();
  }
  void lock() ACQUIRE() {
    mutex_.lock();
    held_ = true;
  }

 private:
  friend class Condition;
  Mutex& mutex_;
  bool held_;
};

/// A condition variable for Mutex. The waiting functions need a MutexLock that holds the mutex.
class Condition {
 public:
  void notify_one() noexcept { condition_.notify_one(); }
  void notify_all() noexcept { condition_.notify_all(); }

  void wait(MutexLock& held) {
    std::unique_lock<std::mutex> lock(held.mutex_.mutex_, std::adopt_lock);
    condition_.wait(lock);
    lock.release();
  }
  template <class Time>
  void wait_until(MutexLock& held, const Time& time) {
    std::unique_lock<std::mutex> lock(held.mutex_.mutex_, std::adopt_lock);
    condition_.wait_until(lock, time);
    lock.release();
  }

 private:
  std::condition_variable condition_;
};

}  // namespace wevora::platform
