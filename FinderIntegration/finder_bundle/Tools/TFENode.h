#pragma once

#include <vector>

namespace wevora {

/// The host's reference to one of its nodes: one opaque pointer.
struct TFENode {
  void* fNodeRef = nullptr;
  friend bool operator==(const TFENode&, const TFENode&) = default;
};
static_assert(sizeof(TFENode) == 8, "an element of the host's node vectors has 8 bytes");

/// The host's contiguous array of node references.
using TFENodeVector = std::vector<TFENode>;

}  // namespace wevora
