#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/TFENode.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// An item of the host: "FINode". It answers `previewItemURL`, none for an item without a path of
/// this machine.
/// Threads: the main thread. Owns: its URL. Errors: none.
class Node : public platform::Object {
 public:
  Node(platform::Class& isa, const std::string& uri)
      : Object(isa), uri_(uri), url_(ItemURL::fromString(uri)) {}

  const std::string& uri() const noexcept { return uri_; }
  const std::optional<ItemURL>& url() const noexcept { return url_; }
  /// Good as long as the node lives.
  TFENode* reference() noexcept { return &reference_; }

 private:
  const std::string uri_;
  const std::optional<ItemURL> url_;
  TFENode reference_{this};
};

/// Makes the nodes, and finds them again by what the bundle holds of them.
/// Threads: the main thread. Owns: no node. Errors: a reference to a node that is gone is null.
class Nodes {
 public:
  explicit Nodes(platform::Runtime& runtime);
  Nodes(const Nodes&) = delete;
  Nodes& operator=(const Nodes&) = delete;

  std::shared_ptr<Node> make(const std::string& uri);
  platform::Id nodeFromNodeRef(const TFENode& reference) const;

 private:
  const std::shared_ptr<platform::Class> class_;
  std::unordered_map<const void*, std::weak_ptr<Node>> nodes_;
};

}  // namespace wevora::hosts
