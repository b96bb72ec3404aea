#include "Hosts/Common/Node.h"

#include "Hosts/Common/NewClass.h"

namespace wevora::hosts {

using platform::Id;
using platform::Implementation;

Nodes::Nodes(platform::Runtime& runtime) : class_(newClass(runtime, "FINode")) {
  class_->addMethod("previewItemURL",
                    Implementation::of<std::optional<ItemURL>()>(
                        [](const Id& self) { return static_cast<const Node&>(*self).url(); }),
                    "@@:");
  class_->addClassMethod(
      "nodeFromNodeRef:", Implementation::of<Id(TFENode)>([this](const Id&, TFENode reference) {
        return nodeFromNodeRef(reference);
      }),
      "@@:^v");
}

std::shared_ptr<Node> Nodes::make(const std::string& uri) {
  // The deleter removes the node from the table.
  std::shared_ptr<Node> node(new Node(*class_, uri), [this](Node* released) {
    nodes_.erase(released);
    std::default_delete<Node>()(released);
  });
  nodes_.emplace(node.get(), node);
  return node;
}

Id Nodes::nodeFromNodeRef(const TFENode& reference) const {
  const auto found = nodes_.find(reference.fNodeRef);
  return found == nodes_.end() ? nullptr : found->second.lock();
}

}  // namespace wevora::hosts
