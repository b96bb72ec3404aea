#pragma once

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "FinderIntegration/finder_bundle/SharedInstances.h"

namespace wevora {

/// Paints badges in icon views: into the icon's own image, before the host draws it.
/// Threads: the main thread. Owns: nothing; runtime and provider outlive the hooked classes.
/// Errors: what fails leaves the host's drawing as it is.
class IconViewOverlay {
 public:
  /// Makes the class known to the runtime; nothing is replaced yet.
  IconViewOverlay(platform::Runtime& runtime, ProviderAccess provider);

  // +load
  void load();
  // +loadReflective
  void loadReflective();
  // +loadDrawWithFrame
  void loadDrawWithFrame();

  // -imageFrame
  static Rect imageFrame() { return {}; }

 private:
  platform::Runtime& runtime_;
};

}  // namespace wevora
