#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>

#include "Platform/Base/Mutex.h"
#include "Platform/IPC/Variants.h"

namespace wevora::platform {

/// A bounded FIFO queue of received notifications. When a sender outruns the host, the queue stays
/// within its limits: it drops a new notification that equals a queued one, because observers read
/// the current state when they are notified. Otherwise it drops the oldest notification of the same
/// name, or the oldest of all if there is none. So a flood of one name never evicts
/// the latest notification of another name.
/// Thread-safety: any thread. `mutex_` is a leaf lock.
class NotificationQueue {
 public:
  struct Limits {
    std::size_t count = 16384;
    std::size_t bytes = std::size_t{32} << 20U;  ///< of arguments; a single entry may exceed it
  };
  struct Entry {
    std::string name;
    VariantPtr arguments;
    std::size_t digest = 0;
  };

  NotificationQueue() : NotificationQueue(Limits{}) {}
  explicit NotificationQueue(Limits limits) : limits_(limits) {}

  void add(std::string name, VariantPtr arguments);
  /// Removes and returns the oldest entry; nullopt if the queue is empty.
  std::optional<Entry> take();
  std::size_t count() const;

 private:
  bool isFull() const REQUIRES(mutex_);
  bool exceedsLimits() const REQUIRES(mutex_);
  void dropOneFor(const std::string& name) REQUIRES(mutex_);
  Entry remove(std::deque<Entry>::iterator place) REQUIRES(mutex_);

  const Limits limits_;
  mutable Mutex mutex_;
  std::deque<Entry> entries_ GUARDED_BY(mutex_);
  std::unordered_map<std::size_t, std::size_t> digests_
      GUARDED_BY(mutex_);  ///< number of entries by digest
  std::size_t bytes_ GUARDED_BY(mutex_) = 0;
};

}  // namespace wevora::platform
