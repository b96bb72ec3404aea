#include "Platform/IPC/UnresponsivePeers.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

namespace wevora::platform {
namespace {

/// Fields of /proc/PID/stat. Parsing starts after the process name, which may contain any
/// character.
struct Stat {
  char state = 0;
  std::uint64_t started = 0;
};

std::optional<Stat> statOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  const std::string all{std::istreambuf_iterator<char>(file), {}};
  const auto name = all.rfind(')');
  if (name == std::string::npos) return std::nullopt;
  std::istringstream fields(all.substr(name + 1));
  constexpr int kFieldsBetween = 18;  // from the state (3rd) to the start (22nd)
  Stat stat;
  fields >> stat.state;
  std::string skipped;
  for (int i = 0; i < kFieldsBetween; ++i) fields >> skipped;
  fields >> stat.started;
  return fields ? std::optional(stat) : std::nullopt;
}

}  // namespace

std::optional<PeerProcess> PeerProcess::of(pid_t pid) {
  const auto stat = pid > 0 ? statOf(pid) : std::nullopt;
  return stat ? std::optional(PeerProcess{pid, stat->started}) : std::nullopt;
}

bool PeerProcess::isStopped() const {
  const auto stat = statOf(pid);
  return stat && stat->started == started && (stat->state == 'T' || stat->state == 't');
}

void UnresponsivePeers::add(const std::optional<PeerProcess>& peer) {
  if (!peer) return;
  const MutexLock lock(mutex_);
  std::erase_if(peers_, [&](const PeerProcess& known) {
    return known == *peer || PeerProcess::of(known.pid) != known;
  });
  peers_.push_back(*peer);
}

void UnresponsivePeers::remove(const std::optional<PeerProcess>& peer) {
  const MutexLock lock(mutex_);
  std::erase_if(peers_, [&](const PeerProcess& known) { return known == peer; });
}

bool UnresponsivePeers::contains(const std::optional<PeerProcess>& peer) const {
  const MutexLock lock(mutex_);
  return peer && std::ranges::find(peers_, *peer) != peers_.end();
}

}  // namespace wevora::platform
