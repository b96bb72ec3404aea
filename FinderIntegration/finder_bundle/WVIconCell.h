#pragma once

#include <optional>

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "FinderIntegration/finder_bundle/SharedInstances.h"

namespace wevora {

/// Paints badges in list and column views: over what the host has drawn.
/// Threads: the main thread. Owns: nothing; runtime and provider outlive the hooked classes.
/// Errors: what fails leaves the host's drawing as it is.
class WVIconCell {
 public:
  /// Makes the class known to the runtime; nothing is replaced yet.
  WVIconCell(platform::Runtime& runtime, ProviderAccess provider);

  // +load
  void load();
  /// Gives the host's snapshots of images the scale that they are asked for.
  // +loadHack
  void loadHack();

  /// None for a null pointer, and for a node without a URL. The class "FINode" is looked up once in
  /// the process, at the first use.
  // +pathForNode:
  static std::optional<ItemURL> pathForNode(const TFENode* node);

 private:
  platform::Runtime& runtime_;
};

}  // namespace wevora
