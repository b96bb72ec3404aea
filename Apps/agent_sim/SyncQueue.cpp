#include "Apps/agent_sim/SyncQueue.h"

#include <algorithm>

namespace wevora::agent_sim {
namespace {

/// The backlog that a process catches up on after it was stopped.
constexpr std::chrono::seconds kCatchUp{1};

}  // namespace

SyncQueue::SyncQueue(const platform::Clock& clock, double rate) : clock_(clock) {
  if (rate > 0)
    interval_ = std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(std::min(1 / rate, 1e9)));
}

/// The first path becomes due after a whole interval.
void SyncQueue::startInterval() {
  next_ = clock_.uptime() + interval_.value_or(std::chrono::nanoseconds(0));
}

void SyncQueue::add(const std::string& path, platform::Date since) {
  const Place place{since.secondsSince1970, added_};
  if (!places_.emplace(path, place).second) return;
  ++added_;
  if (order_.empty()) startInterval();
  order_.emplace(place, path);
}

void SyncQueue::remove(const std::string& path) {
  const auto found = places_.find(path);
  if (found == places_.end()) return;
  order_.erase(found->second);
  places_.erase(found);
}

void SyncQueue::removeBelow(const std::string& folder) {
  const std::string below = folder == "/" ? folder : folder + "/";
  auto found = places_.lower_bound(below);
  while (found != places_.end() && found->first.starts_with(below)) {
    order_.erase(found->second);
    found = places_.erase(found);
  }
}

void SyncQueue::clear() {
  order_.clear();
  places_.clear();
}

void SyncQueue::hold(bool held) {
  if (held_ && !held) startInterval();
  held_ = held;
}

std::optional<std::chrono::nanoseconds> SyncQueue::untilDue() const {
  if (held_ || !interval_ || order_.empty()) return std::nullopt;
  return std::max(next_ - clock_.uptime(), std::chrono::nanoseconds(0));
}

std::vector<std::string> SyncQueue::take() {
  std::vector<std::string> due;
  const auto now = clock_.uptime();
  next_ = std::max(next_, now - kCatchUp);
  while (untilDue() == std::chrono::nanoseconds(0)) {
    const auto first = order_.begin();
    due.push_back(first->second);
    places_.erase(first->second);
    order_.erase(first);
    next_ += *interval_;
  }
  return due;
}

}  // namespace wevora::agent_sim
