#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "FinderIntegration/finder_bundle/Tools/TFENode.h"
#include "Platform/Base/Clock.h"
#include "Platform/Dispatch/Dispatch.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora {

/// Makes the host redraw its windows, the visible items of given paths, or the desktop. Desktop
/// reloads are throttled to one per three seconds unless forced.
/// Thread-safety: updateWindows and updateNodesWithPath on any thread, the others on the main
///   thread. The host is called on the main thread only.
/// Errors: a missing host class makes a step do nothing. Exceptions of the host are dropped.
class WVFinderTools {
 public:
  WVFinderTools(const platform::Runtime& runtime, platform::Queue& mainQueue,
                const platform::Clock& clock)
      : runtime_(runtime), mainQueue_(mainQueue), clock_(clock) {}
  WVFinderTools(const WVFinderTools&) = delete;
  WVFinderTools& operator=(const WVFinderTools&) = delete;

  /// The process-wide instance, created on first use and never destroyed.
  // +sharedTools
  static WVFinderTools& sharedTools();

  /// Redraws all windows two seconds after the bundle was loaded.
  // +load
  void load();
  // -updateWindows
  void updateWindows();
  /// The paths are compared with the lower-cased paths of the visible items, so pass lower-cased
  /// ones.
  // -updateNodesWithPath:
  void updateNodesWithPath(std::vector<std::string> paths);
  // -updateVisibleNodesWithPath:inController:
  void updateVisibleNodesWithPath(const std::vector<std::string>& paths,
                                  const platform::Id& inController) const;
  // -updateDesktopForce:
  void updateDesktopForce(bool force);

 private:
  using PathSet = std::unordered_set<std::string_view>;
  template <class Visit>
  void visitBrowserWindows(Visit visit) const;
  void redrawVisibleNodes(const PathSet& paths, const platform::Id& controller) const;
  void redrawNode(const TFENode& node, const PathSet& paths, const platform::Id& controller) const;
  void reloadDesktop(platform::Date requested);

  const platform::Runtime& runtime_;
  platform::Queue& mainQueue_;
  const platform::Clock& clock_;

  std::optional<platform::Date> date_;  // request date of the latest reload
  bool after_ = false;                  // a delayed reload is pending
};

}  // namespace wevora
