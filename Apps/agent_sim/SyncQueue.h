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

/// The files that wait for their backup, and when each is backed up: so many a second, the one that
/// waits longest first.
/// Threads: one. Owns: the paths. Errors: none.
class SyncQueue {
 public:
  /// Files a second; with 0 or less nothing ever becomes due.
  SyncQueue(const platform::Clock& clock, double rate);

  /// A path that waits already keeps its place, however often its file changes.
  void add(const std::string& path, platform::Date since);
  void remove(const std::string& path);
  /// Removes a folder's files, and those of the folders below it.
  void removeBelow(const std::string& folder);
  void clear();

  /// While it is held, nothing becomes due.
  void hold(bool held);

  /// Until the next is due; none where none will be.
  std::optional<std::chrono::nanoseconds> untilDue() const;
  /// Takes out what is due now.
  std::vector<std::string> take();
  std::size_t size() const { return places_.size(); }

 private:
  using Place = std::pair<double, std::uint64_t>;  ///< since when, and its number
  void startTurn();

  const platform::Clock& clock_;
  std::optional<std::chrono::nanoseconds> interval_;
  std::map<Place, std::string> order_;
  std::map<std::string, Place> places_;
  std::uint64_t added_ = 0;
  std::chrono::nanoseconds next_{};  ///< uptime at which the first is due
  bool held_ = false;
};

}  // namespace wevora::agent_sim
