#include "Tests/Leaks/Leaks.h"

#include <filesystem>
#include <iterator>
#include <stdexcept>

#include <gio/gio.h>

#include "Platform/Base/GObjectPtr.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/Variants.h"

namespace wevora::testing_host {
namespace {

using platform::GObjectPtr;
using platform::VariantPtr;

/// Null if the bus cannot be reached or does not provide its statistics.
VariantPtr rulesByConnection(const std::string& address) {
  const GObjectPtr<GDBusConnection> bus(g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr));
  if (!bus) return nullptr;
  VariantPtr reply(g_dbus_connection_call_sync(
      bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
      "org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules", nullptr, G_VARIANT_TYPE("(a{sas})"),
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  g_dbus_connection_close_sync(bus.get(), nullptr, nullptr);
  return reply;
}

}  // namespace

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator open("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}

std::vector<std::string> matchRules(const std::string& address) {
  const auto reply = rulesByConnection(address);
  if (!reply)
    throw std::runtime_error(
        "the bus does not list its match rules (org.freedesktop.DBus.Debug.Stats)");
  std::vector<std::string> ours;
  const VariantPtr connections(g_variant_get_child_value(reply.get(), 0));
  for (gsize i = 0; i < g_variant_n_children(connections.get()); ++i) {
    const VariantPtr connection(g_variant_get_child_value(connections.get(), i));
    const VariantPtr rules(g_variant_get_child_value(connection.get(), 1));
    for (gsize k = 0; k < g_variant_n_children(rules.get()); ++k) {
      const VariantPtr rule(g_variant_get_child_value(rules.get(), k));
      const std::string text = g_variant_get_string(rule.get(), nullptr);
      if (text.find(platform::kDistributedNotificationInterface) != std::string::npos)
        ours.push_back(text);
    }
  }
  return ours;
}

}  // namespace wevora::testing_host
