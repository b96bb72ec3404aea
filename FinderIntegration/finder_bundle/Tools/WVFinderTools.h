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

/// Tells the host to draw again: all its windows, the visible items of some paths, or the desktop,
/// which is reloaded once in three seconds at most unless forced.
/// Threads: updateWindows and updateNodesWithPath from any; the others, and everything that calls
///   the host, on the main thread.
/// Owns: the desktop's throttle. Its collaborators must outlive it.
/// Errors: host classes that are absent make a step do nothing; what the host raises is dropped.
class WVFinderTools {
 public:
  WVFinderTools(const platform::Runtime& runtime, platform::Queue& mainQueue,
                const platform::Clock& clock)
      : runtime_(runtime), mainQueue_(mainQueue), clock_(clock) {}
  WVFinderTools(const WVFinderTools&) = delete;
  WVFinderTools& operator=(const WVFinderTools&) = delete;

  /// The one of the process, made at first use.
  // +sharedTools
  static WVFinderTools& sharedTools();

  /// Redraws all windows two seconds after the bundle was loaded.
  // +load
  void load();
  // -updateWindows
  void updateWindows();
  /// The paths are compared with the lower-cased paths of the visible items, so they should be
  /// lower-cased themselves.
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

  std::optional<platform::Date> date_;  // of the latest reload that was carried out
  bool after_ = false;                  // a delayed reload is pending
};

}  // namespace wevora
