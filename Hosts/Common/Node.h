#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/TFENode.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// "FINode": an item of the host.
/// Thread-safety: main thread only.
class Node : public platform::Object {
 public:
  Node(platform::Class& isa, const std::string& uri)
      : Object(isa), uri_(uri), url_(ItemURL::fromString(uri)) {}

  const std::string& uri() const noexcept { return uri_; }
  /// nullopt for an item without a local path.
  // -previewItemURL
  const std::optional<ItemURL>& url() const noexcept { return url_; }
  /// Valid during the node's lifetime.
  TFENode* reference() noexcept { return &reference_; }

 private:
  const std::string uri_;
  const std::optional<ItemURL> url_;
  TFENode reference_{this};
};

/// Creates nodes, and finds them by the references that the bundle passes.
/// Thread-safety: main thread only.
/// Ownership: holds weak references; must outlive the nodes.
class Nodes {
 public:
  explicit Nodes(platform::Runtime& runtime);
  Nodes(const Nodes&) = delete;
  Nodes& operator=(const Nodes&) = delete;

  std::shared_ptr<Node> make(const std::string& uri);
  /// Null if the node was destroyed.
  // +nodeFromNodeRef:
  platform::Id nodeFromNodeRef(const TFENode& reference) const;

 private:
  const std::shared_ptr<platform::Class> class_;
  std::unordered_map<const void*, std::weak_ptr<Node>> nodes_;
};

}  // namespace wevora::hosts
