#pragma once

#include <optional>
#include <vector>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/TFENode.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora {

/// Turns the host's node references into its node objects and their URLs.
/// Threads: the main thread. Owns: nothing. Errors: what the host raises passes through; without
/// the class "FINode" every answer is none.
class WVTFENodeHelper {
 public:
  /// None for a null pointer.
  // +pathForNode:
  static std::optional<ItemURL> pathForNode(
      const TFENode* node, const platform::Runtime& runtime = platform::Runtime::shared());
  // +arrayForNodeVector:
  static std::vector<platform::Id> arrayForNodeVector(
      const TFENodeVector* vector, const platform::Runtime& runtime = platform::Runtime::shared());
};

}  // namespace wevora
