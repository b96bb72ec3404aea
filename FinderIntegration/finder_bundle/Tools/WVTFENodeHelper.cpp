#include "FinderIntegration/finder_bundle/Tools/WVTFENodeHelper.h"

namespace wevora {
namespace {

platform::Id nodeOf(const TFENode& reference, const platform::Runtime& runtime) {
  return platform::send<platform::Id>(runtime.classNamed("FINode"), "nodeFromNodeRef:", reference);
}

}  // namespace

std::optional<ItemURL> WVTFENodeHelper::pathForNode(const TFENode* node,
                                                    const platform::Runtime& runtime) {
  if (node == nullptr) return std::nullopt;
  return platform::send<std::optional<ItemURL>>(nodeOf(*node, runtime), "previewItemURL");
}

std::vector<platform::Id> WVTFENodeHelper::arrayForNodeVector(const TFENodeVector* vector,
                                                              const platform::Runtime& runtime) {
  std::vector<platform::Id> nodes;
  if (vector == nullptr) return nodes;
  nodes.reserve(vector->size() / 24);  // a small initial capacity; the vector grows
  for (const auto& reference : *vector) nodes.push_back(nodeOf(reference, runtime));
  return nodes;
}

}  // namespace wevora
