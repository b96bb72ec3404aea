#include "Platform/IPC/InterfaceDescription.h"

#include <map>
#include <utility>
#include <vector>

#include "Platform/Base/Guard.h"
#include "Platform/Base/Mutex.h"
#include "Platform/IPC/Variants.h"

namespace wevora::platform {
namespace {

/// Cache of parsed descriptions. It never evicts: a process uses only a few protocols.
/// Thread-safety: any thread.
class DescriptionCache {
 public:
  std::shared_ptr<const InterfaceDescription> of(const WireProtocol& protocol) {
    const MutexLock lock(mutex_);
    auto& known = parsed_[{protocol.interfaceName, protocol.introspectionXml}];
    if (!known)
      known = std::make_shared<const InterfaceDescription>(protocol.introspectionXml,
                                                           protocol.interfaceName);
    return known;
  }

 private:
  using Key = std::pair<std::string, std::string>;
  Mutex mutex_;
  std::map<Key, std::shared_ptr<const InterfaceDescription>> parsed_ GUARDED_BY(mutex_);
};

}  // namespace

InterfaceDescription::InterfaceDescription(std::string_view introspectionXml,
                                           const std::string& interfaceName)
    : node_(g_dbus_node_info_new_for_xml(std::string(introspectionXml).c_str(), nullptr)) {
  if (node_) interface_ = g_dbus_node_info_lookup_interface(node_.get(), interfaceName.c_str());
}

const GDBusMethodInfo* InterfaceDescription::method(const std::string& name) const {
  return interface_ == nullptr ? nullptr
                               : g_dbus_interface_info_lookup_method(interface_, name.c_str());
}

bool InterfaceDescription::isContainedIn(const InterfaceDescription& other) const {
  if (interface_ == nullptr || other.interface_ == nullptr) return false;
  for (GDBusMethodInfo** mine = interface_->methods; mine != nullptr && *mine != nullptr; ++mine) {
    const auto* theirs = other.method((*mine)->name);
    if (theirs == nullptr || tupleSignature((*mine)->in_args) != tupleSignature(theirs->in_args) ||
        tupleSignature((*mine)->out_args) != tupleSignature(theirs->out_args))
      return false;
  }
  return true;
}

std::shared_ptr<const InterfaceDescription> descriptionOf(const WireProtocol& protocol) {
  static NeverDestroyed<DescriptionCache> cache;
  return cache->of(protocol);
}

std::string tupleSignature(GDBusArgInfo* const* arguments) {
  std::string signature = "(";
  for (; arguments != nullptr && *arguments != nullptr; ++arguments)
    signature += (*arguments)->signature;
  return signature + ")";
}

GVariant* tupleOf(const Array& values, GDBusArgInfo* const* arguments) {
  std::vector<VariantPtr> members;
  for (const auto& value : values) {
    if (arguments == nullptr || *arguments == nullptr) return nullptr;
    members.push_back(variantOf(value, (*arguments)->signature));
    if (!members.back()) return nullptr;
    ++arguments;
  }
  if (arguments != nullptr && *arguments != nullptr) return nullptr;
  std::vector<GVariant*> children;
  children.reserve(members.size());
  for (const auto& member : members) children.push_back(member.get());
  return g_variant_ref_sink(g_variant_new_tuple(children.data(), children.size()));
}

std::optional<Array> membersOf(GVariant* tuple) {
  Array members;
  const gsize count = g_variant_n_children(tuple);
  members.reserve(count);
  for (gsize i = 0; i < count; ++i) {
    const VariantPtr child(g_variant_get_child_value(tuple, i));
    auto value = valueOf(child.get());
    if (!value) return std::nullopt;
    members.push_back(std::move(*value));
  }
  return members;
}

}  // namespace wevora::platform
