#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>

#include "Platform/Base/Mutex.h"
#include "Platform/IPC/Variants.h"

namespace wevora::platform {

/// Notifications in the order in which they came. While a sender outruns the host they do not grow
/// without end: beyond the limits one that says the same as one that waits is not kept, as
/// observers look at the state of things when they are told; and any other takes the place of the
/// oldest of its name. So a flood of one kind never costs another kind its last word.
/// Threads: any. Owns: what waits. Errors: none.
class NotificationQueue {
 public:
  struct Limits {
    std::size_t count = 16384;
    std::size_t bytes = std::size_t{32} << 20U;  ///< of arguments; one alone may have more
  };
  struct Waiting {
    std::string name;
    VariantPtr arguments;
    std::size_t digest = 0;
  };

  NotificationQueue() : NotificationQueue(Limits{}) {}
  explicit NotificationQueue(Limits limits) : limits_(limits) {}

  void add(std::string name, VariantPtr arguments);
  /// The oldest; none where none waits.
  std::optional<Waiting> take();
  std::size_t count() const;

 private:
  bool isFull() const REQUIRES(mutex_);
  bool isOver() const REQUIRES(mutex_);
  void dropOneFor(const std::string& name) REQUIRES(mutex_);
  Waiting remove(std::deque<Waiting>::iterator place) REQUIRES(mutex_);

  const Limits limits_;
  mutable Mutex mutex_;
  std::deque<Waiting> waiting_ GUARDED_BY(mutex_);
  std::unordered_map<std::size_t, std::size_t> digests_ GUARDED_BY(mutex_);  ///< how many have it
  std::size_t bytes_ GUARDED_BY(mutex_) = 0;
};

}  // namespace wevora::platform
