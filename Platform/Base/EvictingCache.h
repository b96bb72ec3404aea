#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// A string-to-string cache with a size limit. `store` drops all entries when the limit is reached,
/// so that a process that runs for weeks does not remember every path that it ever saw.
/// Thread-safety: any thread.
class EvictingCache {
 public:
  explicit EvictingCache(std::size_t limit = 4096) : limit_(limit) {}

  std::optional<std::string> find(const std::string& key) const {
    const MutexLock lock(mutex_);
    const auto found = entries_.find(key);
    return found == entries_.end() ? std::nullopt : std::optional(found->second);
  }
  void store(const std::string& key, std::string value) {
    const MutexLock lock(mutex_);
    if (entries_.size() >= limit_) entries_.clear();
    entries_.insert_or_assign(key, std::move(value));
  }
  void removeAll() {
    const MutexLock lock(mutex_);
    entries_.clear();
  }
  std::size_t size() const {
    const MutexLock lock(mutex_);
    return entries_.size();
  }

 private:
  const std::size_t limit_;
  mutable Mutex mutex_;
  std::unordered_map<std::string, std::string> entries_ GUARDED_BY(mutex_);
};

}  // namespace wevora::platform
