#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <gio/gio.h>

#include "Platform/IPC/DistributedObjects.h"

namespace wevora::platform {

struct NodeInfoUnref {
  void operator()(GDBusNodeInfo* info) const noexcept { g_dbus_node_info_unref(info); }
};

/// A D-Bus interface, parsed from introspection XML. Immutable.
/// Errors: `interface` is null if the XML is invalid or does not contain the interface.
class InterfaceDescription {
 public:
  InterfaceDescription(std::string_view introspectionXml, const std::string& interfaceName);

  GDBusInterfaceInfo* interface() const noexcept { return interface_; }
  /// Null if the interface has no such method.
  const GDBusMethodInfo* method(const std::string& name) const;
  /// Whether the other interface has every method of this one, with the same types.
  bool isContainedIn(const InterfaceDescription& other) const;

 private:
  std::unique_ptr<GDBusNodeInfo, NodeInfoUnref> node_;
  GDBusInterfaceInfo* interface_ = nullptr;
};

/// The parsed description of a protocol. Cached: each protocol is parsed once per process.
/// Thread-safety: any thread.
std::shared_ptr<const InterfaceDescription> descriptionOf(const WireProtocol& protocol);

/// The type of a tuple of the arguments, such as "(sb)".
std::string tupleSignature(GDBusArgInfo* const* arguments);

/// Builds a tuple of the values with the types of the arguments. Returns null if their number or a
/// type does not match. The result is not floating.
GVariant* tupleOf(const Array& values, GDBusArgInfo* const* arguments);

/// The members of a tuple; nullopt if any member has no counterpart.
std::optional<Array> membersOf(GVariant* tuple);

}  // namespace wevora::platform
