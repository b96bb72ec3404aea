#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "Platform/Dispatch/Dispatch.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora {

/// The bundle's principal class: reports the installed version to the loader and puts the sidebar's
/// proxies in their places.
/// Threads: the main thread. Owns: nothing. Errors: a version that cannot be read is not reported;
/// what the host raises ends the step, silently.
class InjectedBundleClass {
 public:
  struct Services {
    platform::Runtime& runtime;
    platform::Queue& mainQueue;
    platform::InstalledPaths paths;
    /// The loader's handshake: major, minor, patch.
    std::function<void(std::int32_t, std::int32_t, std::int32_t)> setVersion;
  };
  /// Makes the sidebar's delegate class known to the runtime; nothing is replaced yet.
  explicit InjectedBundleClass(Services services);
  virtual ~InjectedBundleClass() = default;
  InjectedBundleClass(const InjectedBundleClass&) = delete;
  InjectedBundleClass& operator=(const InjectedBundleClass&) = delete;

  // +load
  void load();
  /// Walks a view and all below it, and sets the delegate of every sidebar view again; the level is
  /// a "#" for each depth. Every step of the walk is a call of this.
  // +investigateSideBarViewHierarchy:level:
  virtual void investigateSideBarViewHierarchy(const Id& view,
                                               const std::optional<std::string>& level) const;
  /// Walks the browser views instead of the sidebars. To be called by hand.
  // +observe
  void observe() const;

 private:
  void reportVersion() const;
  void hookSidebars() const;
  void walkWindows(const char* container) const;

  const Services services_;
};

}  // namespace wevora
