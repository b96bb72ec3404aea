#pragma once

#include <functional>
#include <string>
#include <vector>

#include "FinderIntegration/finder_bundle/WVIconProvider.h"

namespace wevora::status {

/// The word of an item without a badge.
inline constexpr const char* kNoBadge = "none";

/// The word to print for the provider's word of a path.
std::string wordShown(const std::string& path, const WVIconProvider::Word& word);

/// Queries the provider as a host does: requests each color, waits for the refreshes, and requests
/// it again.
/// Thread-safety: main thread only, outside the main loop.
/// Errors: an unreadable item has the word "unreadable".
class StatusAsker {
 public:
  /// `runMainLoopUntil` runs the main loop until the given condition holds.
  using RunMainLoopUntil = std::function<void(const std::function<bool()>&)>;

  StatusAsker(WVIconProvider& provider, platform::Dispatch& dispatch, const platform::Clock& clock,
              RunMainLoopUntil runMainLoopUntil)
      : provider_(provider),
        dispatch_(dispatch),
        clock_(clock),
        runMainLoopUntil_(std::move(runMainLoopUntil)) {}

  /// Returns "green", "blue", "red", "none" or "unreadable" for each absolute path, in order;
  /// always "none" while badges are switched off.
  std::vector<std::string> ask(const std::vector<std::string>& paths);
  /// The database of the path's volume; nullopt when it has none.
  std::optional<std::string> databaseOf(const std::string& path);

 private:
  void draw(const std::vector<std::string>& paths);
  void waitForRefreshes();
  void waitForRules(const std::vector<std::string>& paths);
  bool isVolumeTop(const std::string& path);
  bool rulesAreUnread(const std::string& top);
  void pause();

  WVIconProvider& provider_;
  platform::Dispatch& dispatch_;
  const platform::Clock& clock_;
  RunMainLoopUntil runMainLoopUntil_;
};

}  // namespace wevora::status
