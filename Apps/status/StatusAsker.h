#pragma once

#include <functional>
#include <string>
#include <vector>

#include "FinderIntegration/finder_bundle/WVIconProvider.h"

namespace wevora::status {

/// The word of an item that has no badge.
inline constexpr const char* kNoBadge = "none";

/// How the provider's word for a path is printed.
std::string wordShown(const std::string& path, const WVIconProvider::Word& word);

/// Asks the provider as a host does: draws, lets the refreshes end, draws again.
/// Threads: the main thread, outside the main loop. Owns: nothing.
/// Errors: none; what cannot be read has the word "unreadable".
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

  /// "green", "blue", "red", "none" or "unreadable" for each absolute path, in their order; "none"
  /// for all while badges are turned off.
  std::vector<std::string> ask(const std::vector<std::string>& paths);
  /// The database of the volume that holds the path; none where it has none.
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
