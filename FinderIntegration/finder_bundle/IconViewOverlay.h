#pragma once

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "FinderIntegration/finder_bundle/SharedInstances.h"

namespace wevora {

/// Paints badges in icon views: into the icon's own image, before the host draws it. The main
/// thread only.
/// Ownership: runtime and provider must outlive the hooked classes.
/// Errors: an exception leaves the host's drawing unchanged.
class IconViewOverlay {
 public:
  /// Registers the class in the runtime. Replaces nothing yet.
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
