#pragma once

#include <optional>
#include <vector>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/TFENode.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora {

/// Resolves the host's node references to node objects and their URLs. The main thread only.
/// Errors: exceptions of the host propagate. Without the class "FINode" every result is empty.
class WVTFENodeHelper {
 public:
  /// nullopt for a null pointer.
  // +pathForNode:
  static std::optional<ItemURL> pathForNode(
      const TFENode* node, const platform::Runtime& runtime = platform::Runtime::shared());
  // +arrayForNodeVector:
  static std::vector<platform::Id> arrayForNodeVector(
      const TFENodeVector* vector, const platform::Runtime& runtime = platform::Runtime::shared());
};

}  // namespace wevora
