#pragma once

#include <cstdint>
#include <optional>
#include <sys/types.h>
#include <vector>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// Identifies a process by pid and start time, so that a reused pid is a different process.
struct PeerProcess {
  pid_t pid = 0;
  std::uint64_t started = 0;  ///< clock ticks since boot

  /// nullopt if the process does not exist or is not visible in /proc.
  static std::optional<PeerProcess> of(pid_t pid);
  /// Whether a signal or a debugger has stopped the process, so that it cannot reply.
  bool isStopped() const;
  friend bool operator==(const PeerProcess&, const PeerProcess&) = default;
};

/// The processes that did not reply before a timeout. Processes that have ended are removed.
/// Thread-safety: any thread. `mutex_` is a leaf lock.
class UnresponsivePeers {
 public:
  void add(const std::optional<PeerProcess>& peer);
  void remove(const std::optional<PeerProcess>& peer);
  bool contains(const std::optional<PeerProcess>& peer) const;

 private:
  mutable Mutex mutex_;
  std::vector<PeerProcess> peers_ GUARDED_BY(mutex_);
};

}  // namespace wevora::platform
