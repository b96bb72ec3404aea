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

// What happened to an item, in the words of an event. Listeners know "Removed".
inline constexpr const char* kEventCreated = "Created";
inline constexpr const char* kEventChanged = "Changed";
inline constexpr const char* kEventRemoved = "Removed";
inline constexpr const char* kEventSynchronized = "Synchronized";
/// Nothing more has happened for a while.
inline constexpr const char* kEventSettled = "Settled";

/// Gathers events, so that they are told at most five times a second however many there are.
/// Threads: one. Owns: the events that wait. Errors: none.
class EventCoalescer {
 public:
  /// What one notification tells: each path once, and each word once, because a listener does the
  /// same work again for each.
  struct Batch {
    std::vector<std::string> paths;
    std::vector<std::string> words;
  };

  explicit EventCoalescer(const platform::Clock& clock) : clock_(clock) {}

  void add(const std::string& path, const std::string& word);
  /// Until something is to be told; none where nothing waits.
  std::optional<std::chrono::nanoseconds> untilDue() const;
  /// What is to be told now; none where nothing is due.
  std::optional<Batch> take();

 private:
  static constexpr std::chrono::milliseconds kInterval{200};
  static constexpr std::size_t kPathsInBatch = 4096;
  using Event = std::pair<std::string, std::string>;  ///< path and word

  const platform::Clock& clock_;
  std::deque<Event> waiting_;
  std::set<Event> known_;
  std::optional<std::chrono::nanoseconds> told_;  ///< when it was last
};

}  // namespace wevora::agent_sim
