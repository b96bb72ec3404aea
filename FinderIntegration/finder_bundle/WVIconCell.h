#pragma once

#include <optional>

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "FinderIntegration/finder_bundle/SharedInstances.h"

namespace wevora {

/// Paints badges in list and column views, over the host's drawing. The main thread only.
/// Ownership: runtime and provider must outlive the hooked classes.
/// Errors: an exception leaves the host's drawing unchanged.
class WVIconCell {
 public:
  /// Registers the class in the runtime. Replaces nothing yet.
  WVIconCell(platform::Runtime& runtime, ProviderAccess provider);

  // +load
  void load();
  /// Adds the missing `scaleFactor` method to the host's image snapshots.
  // +loadHack
  void loadHack();

  /// nullopt for a null pointer or a node without a URL. The class "FINode" is looked up once per
  /// process, on first use.
  // +pathForNode:
  static std::optional<ItemURL> pathForNode(const TFENode* node);

 private:
  platform::Runtime& runtime_;
};

}  // namespace wevora
