#pragma once

#include <cstdint>
#include <optional>
#include <sys/types.h>
#include <vector>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

/// A process, told from another that has got its number later.
struct PeerProcess {
  pid_t pid = 0;
  std::uint64_t started = 0;  ///< in ticks since the system began

  /// None for a process that is not there, or cannot be seen from here.
  static std::optional<PeerProcess> of(pid_t pid);
  /// By a signal or a debugger: it answers nobody until it is let go.
  bool isStopped() const;
  friend bool operator==(const PeerProcess&, const PeerProcess&) = default;
};

/// The processes that have left us without an answer.
/// Threads: any. Owns: the list; who has ended leaves it. Errors: none.
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
