#pragma once

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "FinderIntegration/finder_bundle/SharedInstances.h"
#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"

namespace wevora {

/// The image in a bitmap of its own, as large as the image in points; null where there can be none.
// CGImageCreateWithNSImage
platform::BitmapRef CGImageCreateWithNSImage(const ImageRef& image);

/// Paints badges on the desktop: over the icon's layer, after the host has drawn it.
/// Threads: the main thread. Owns: nothing; what it is given outlives the hooked class.
/// Errors: what fails leaves the host's drawing as it is.
class WVRDesktopIcon {
 public:
  /// Makes the class known to the runtime; nothing is replaced yet.
  WVRDesktopIcon(platform::Runtime& runtime, platform::Queue& mainQueue, ProviderAccess provider,
                 FinderToolsAccess finderTools);

  /// Replaces the drawing, asks for a redraw of the desktop and, two seconds later, for a reload.
  // +load
  void load();

 private:
  platform::Runtime& runtime_;
  platform::Queue& mainQueue_;
  const FinderToolsAccess finderTools_;
};

}  // namespace wevora
