#pragma once

#include <array>
#include <functional>
#include <string_view>

#include "FinderIntegration/finder_bundle/IconViewOverlay.h"
#include "FinderIntegration/finder_bundle/InjectedBundleClass.h"
#include "FinderIntegration/finder_bundle/WVIconCell.h"
#include "FinderIntegration/finder_bundle/WVRDesktopIcon.h"

namespace wevora {

/// Runs the load hooks of the bundle's classes in a fixed order, on the main thread.
/// Ownership: owns the hooking classes. The services must outlive the host's classes.
/// Errors: an exception ends its hook only and is dropped.
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
    std::function<void()> loadDateFormat;      ///< the shared date formatter
  };
  /// Registers all hooking classes in the runtime. Does not create the provider or the tools: the
  /// hooks that need them do.
  explicit BundleLoad(Services services);
  BundleLoad(const BundleLoad&) = delete;
  BundleLoad& operator=(const BundleLoad&) = delete;

  /// In the order in which they run.
  const std::array<Hook, kHooks>& hooks() const noexcept { return hooks_; }
  /// Runs the hooks one after another. Call once.
  void run() const;

 private:
  InjectedBundleClass injectedBundleClass_;
  IconViewOverlay iconViewOverlay_;
  WVIconCell iconCell_;
  WVRDesktopIcon desktopIcon_;
  const std::array<Hook, kHooks> hooks_;
};

}  // namespace wevora
