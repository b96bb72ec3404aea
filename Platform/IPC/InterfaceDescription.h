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

/// A parsed introspection text.
/// Threads: any. Owns: what was parsed. Errors: a text that cannot be parsed has no interface.
class InterfaceDescription {
 public:
  InterfaceDescription(std::string_view introspectionXml, const std::string& interfaceName);

  GDBusInterfaceInfo* interface() const noexcept { return interface_; }
  /// Null where there is none.
  const GDBusMethodInfo* method(const std::string& name) const;
  /// Whether the other has every method of this one, with the same types.
  bool isContainedIn(const InterfaceDescription& other) const;

 private:
  std::unique_ptr<GDBusNodeInfo, NodeInfoUnref> node_;
  GDBusInterfaceInfo* interface_ = nullptr;
};

/// A protocol's description; its text is parsed once in a process. Any thread.
std::shared_ptr<const InterfaceDescription> descriptionOf(const WireProtocol& protocol);

/// The types of arguments, as one tuple: "(sb)".
std::string tupleSignature(GDBusArgInfo* const* arguments);

/// The arguments as one tuple, each of its type; null where their number or a type is wrong. Not
/// floating.
GVariant* tupleOf(const Array& values, GDBusArgInfo* const* arguments);

/// The members of a tuple; one that has no counterpart makes the whole answer none.
std::optional<Array> membersOf(GVariant* tuple);

}  // namespace wevora::platform
