#pragma once

#include <array>
#include <functional>
#include <string_view>

#include "FinderIntegration/finder_bundle/IconViewOverlay.h"
#include "FinderIntegration/finder_bundle/InjectedBundleClass.h"
#include "FinderIntegration/finder_bundle/WVIconCell.h"
#include "FinderIntegration/finder_bundle/WVRDesktopIcon.h"

namespace wevora {

/// What the bundle does when it is loaded into a host: the load hooks of its classes, in one order.
/// Threads: the main thread. Owns: the hooking classes; what it is given outlives the host's
///   classes. Errors: what a hook throws ends that hook, silently.
class BundleLoad {
 public:
  struct Hook {
    std::string_view name;
    std::function<void()> load;
  };
  static constexpr std::size_t kHooks = 8;

  struct Services {
    InjectedBundleClass::Services principal;
    ProviderAccess provider;
    FinderToolsAccess finderTools;
    std::function<void()> loadFileTools;       ///< WVRFileTools
    std::function<void()> loadAgentConnector;  ///< WVAgentConnector
    std::function<void()> loadDateFormat;      ///< the dates' shared formatter
  };
  /// All hooking classes are known to the runtime from here on, before the first hook runs. Neither
  /// the provider nor the tools are asked for: a hook that needs them does.
  explicit BundleLoad(Services services);
  BundleLoad(const BundleLoad&) = delete;
  BundleLoad& operator=(const BundleLoad&) = delete;

  /// In the order in which they run.
  const std::array<Hook, kHooks>& hooks() const noexcept { return hooks_; }
  /// Runs each hook to its end before the next. To be called once.
  void run() const;

 private:
  InjectedBundleClass injectedBundleClass_;
  IconViewOverlay iconViewOverlay_;
  WVIconCell iconCell_;
  WVRDesktopIcon desktopIcon_;
  const std::array<Hook, kHooks> hooks_;
};

}  // namespace wevora
