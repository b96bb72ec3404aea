#pragma once

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "FinderIntegration/finder_bundle/SharedInstances.h"
#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"

namespace wevora {

/// Renders the image into a new bitmap of its size in points; null if no bitmap can be created.
// CGImageCreateWithNSImage
platform::BitmapRef CGImageCreateWithNSImage(const ImageRef& image);

/// Paints badges on the desktop: over the icon's layer, after the host has drawn it. The main
/// thread only.
/// Ownership: the runtime, the queue and both callbacks must outlive the hooked class.
/// Errors: an exception leaves the host's drawing unchanged.
class WVRDesktopIcon {
 public:
  /// Registers the class in the runtime. Replaces nothing yet.
  WVRDesktopIcon(platform::Runtime& runtime, platform::Queue& mainQueue, ProviderAccess provider,
                 FinderToolsAccess finderTools);

  /// Replaces the drawing method, redraws the desktop, and reloads it two seconds later.
  // +load
  void load();

 private:
  platform::Runtime& runtime_;
  platform::Queue& mainQueue_;
  const FinderToolsAccess finderTools_;
};

}  // namespace wevora
