#include "Platform/IPC/UnresponsivePeers.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

namespace wevora::platform {
namespace {

/// What the system says of a process behind its name, which may hold anything: its state first.
struct Facts {
  char state = 0;
  std::uint64_t started = 0;
};

std::optional<Facts> factsOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  const std::string all{std::istreambuf_iterator<char>(file), {}};
  const auto name = all.rfind(')');
  if (name == std::string::npos) return std::nullopt;
  std::istringstream fields(all.substr(name + 1));
  constexpr int kFieldsBetween = 18;  // from the state (3rd) to the start (22nd)
  Facts facts;
  fields >> facts.state;
  std::string skipped;
  for (int i = 0; i < kFieldsBetween; ++i) fields >> skipped;
  fields >> facts.started;
  return fields ? std::optional(facts) : std::nullopt;
}

}  // namespace

std::optional<PeerProcess> PeerProcess::of(pid_t pid) {
  const auto facts = pid > 0 ? factsOf(pid) : std::nullopt;
  return facts ? std::optional(PeerProcess{pid, facts->started}) : std::nullopt;
}

bool PeerProcess::isStopped() const {
  const auto facts = factsOf(pid);
  return facts && facts->started == started && (facts->state == 'T' || facts->state == 't');
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
