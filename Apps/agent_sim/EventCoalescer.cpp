#include "Apps/agent_sim/EventCoalescer.h"

#include <algorithm>

namespace wevora::agent_sim {

void EventCoalescer::add(const std::string& path, const std::string& word) {
  if (queued_.emplace(path, word).second) waiting_.emplace_back(path, word);
}

std::optional<std::chrono::nanoseconds> EventCoalescer::untilDue() const {
  if (waiting_.empty()) return std::nullopt;
  if (!lastTaken_) return std::chrono::nanoseconds(0);
  return std::max(*lastTaken_ + kInterval - clock_.uptime(), std::chrono::nanoseconds(0));
}

std::optional<EventCoalescer::Batch> EventCoalescer::take() {
  if (untilDue().value_or(kInterval).count() > 0) return std::nullopt;
  lastTaken_ = clock_.uptime();
  Batch batch;
  std::set<std::string> paths;
  while (!waiting_.empty() && paths.size() < kPathsInBatch) {
    const auto [path, word] = waiting_.front();
    queued_.erase(waiting_.front());
    waiting_.pop_front();
    if (paths.insert(path).second) batch.paths.push_back(path);
    if (std::find(batch.words.begin(), batch.words.end(), word) == batch.words.end())
      batch.words.push_back(word);
  }
  return batch;
}

}  // namespace wevora::agent_sim
