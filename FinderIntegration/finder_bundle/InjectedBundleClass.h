#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "Platform/Dispatch/Dispatch.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora {

/// The bundle's principal class: reports the installed version to the loader and installs the
/// sidebar proxies. The main thread only.
/// Errors: an unreadable version is not reported. An exception of the host ends its step and is
///   dropped.
class InjectedBundleClass {
 public:
  struct Services {
    platform::Runtime& runtime;
    platform::Queue& mainQueue;
    platform::InstalledPaths paths;
    /// The loader's handshake: major, minor, patch.
    std::function<void(std::int32_t, std::int32_t, std::int32_t)> setVersion;
  };
  /// Registers the sidebar's delegate class in the runtime. Replaces nothing yet.
  explicit InjectedBundleClass(Services services);
  virtual ~InjectedBundleClass() = default;
  InjectedBundleClass(const InjectedBundleClass&) = delete;
  InjectedBundleClass& operator=(const InjectedBundleClass&) = delete;

  // +load
  void load();
  /// Walks a view hierarchy and sets the delegate of every sidebar view again. The level has one
  /// "#" per depth. Recursive.
  // +investigateSideBarViewHierarchy:level:
  virtual void investigateSideBarViewHierarchy(const Id& view,
                                               const std::optional<std::string>& level) const;
  /// Walks the browser views instead of the sidebars. Not called by the bundle.
  // +observe
  void observe() const;

 private:
  void reportVersion() const;
  void hookSidebars() const;
  void walkWindows(const char* container) const;

  const Services services_;
};

}  // namespace wevora
