#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Base/Clock.h"

namespace wevora::agent_sim {

/// A rate-limited queue of pending files, oldest first.
class SyncQueue {
 public:
  /// `rate` is in files per second; with 0 or less nothing becomes due.
  SyncQueue(const platform::Clock& clock, double rate);

  /// A queued path keeps its place.
  void add(const std::string& path, platform::Date since);
  void remove(const std::string& path);
  /// Removes all paths below a folder.
  void removeBelow(const std::string& folder);
  void clear();

  /// While held, nothing becomes due.
  void hold(bool held);

  /// Time until the next path is due; nullopt when none will be.
  std::optional<std::chrono::nanoseconds> untilDue() const;
  /// Removes and returns the paths that are due.
  std::vector<std::string> take();
  std::size_t size() const { return places_.size(); }

 private:
  using Place = std::pair<double, std::uint64_t>;  ///< pending since, and insertion number
  void startInterval();

  const platform::Clock& clock_;
  std::optional<std::chrono::nanoseconds> interval_;
  std::map<Place, std::string> order_;
  std::map<std::string, Place> places_;
  std::uint64_t added_ = 0;
  std::chrono::nanoseconds next_{};  ///< uptime when the first path is due
  bool held_ = false;
};

}  // namespace wevora::agent_sim
