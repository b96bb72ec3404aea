#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Base/Clock.h"

namespace wevora::agent_sim {

// The words of an event. Listeners interpret only "Removed".
inline constexpr const char* kEventCreated = "Created";
inline constexpr const char* kEventChanged = "Changed";
inline constexpr const char* kEventRemoved = "Removed";
inline constexpr const char* kEventSynchronized = "Synchronized";
/// No further event of the path for a while.
inline constexpr const char* kEventSettled = "Settled";

/// Batches events, at most five batches per second.
class EventCoalescer {
 public:
  /// The content of one notification. Paths and words are unique: a listener repeats its work for
  /// each.
  struct Batch {
    std::vector<std::string> paths;
    std::vector<std::string> words;
  };

  explicit EventCoalescer(const platform::Clock& clock) : clock_(clock) {}

  void add(const std::string& path, const std::string& word);
  /// Time until `take` returns a batch; nullopt when no event is queued.
  std::optional<std::chrono::nanoseconds> untilDue() const;
  /// Returns the batch that is due; nullopt when none is.
  std::optional<Batch> take();

 private:
  static constexpr std::chrono::milliseconds kInterval{200};
  static constexpr std::size_t kPathsInBatch = 4096;
  using Event = std::pair<std::string, std::string>;  ///< path and word

  const platform::Clock& clock_;
  std::deque<Event> waiting_;
  std::set<Event> queued_;
  std::optional<std::chrono::nanoseconds> lastTaken_;  ///< uptime of the last batch
};

}  // namespace wevora::agent_sim
