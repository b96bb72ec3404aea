#include "Tests/HostSession/ProbeServer.h"

#include <array>
#include <dlfcn.h>
#include <fstream>

#include "Tests/HostSession/ProbeInterface.h"
#include "Tests/HostSession/ShiftedClock.h"

namespace wevora::testing_host {
namespace {

ProbeFunctions served;

void returnWindows(GDBusMethodInvocation* invocation) {
  GVariantBuilder titles;
  g_variant_builder_init(&titles, G_VARIANT_TYPE("as"));
  for (const auto& title : served.windowTitles())
    g_variant_builder_add(&titles, "s", title.c_str());
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(as)", &titles));
}

void advanceClock(double seconds, GDBusMethodInvocation* invocation) {
  const auto advance = reinterpret_cast<decltype(&wevora_test_advance_clock)>(
      ::dlsym(RTLD_DEFAULT, kAdvanceClockFunction));
  if (advance == nullptr)
    return g_dbus_method_invocation_return_dbus_error(invocation, kProbeError,
                                                      "the clock is not preloaded");
  advance(seconds);
  g_dbus_method_invocation_return_value(invocation, nullptr);
}

void called(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* name,
            GVariant* arguments, GDBusMethodInvocation* invocation, gpointer) noexcept {
  const std::string method = name;
  if (method == "Windows") return returnWindows(invocation);
  if (method == "AdvanceClock") {
    double seconds = 0;
    g_variant_get(arguments, "(d)", &seconds);
    return advanceClock(seconds, invocation);
  }
  guint window = 0;
  g_variant_get_child(arguments, 0, "u", &window);
  served.call(window, method, arguments, invocation);
}

void publish(GDBusConnection* bus, const gchar*, gpointer) noexcept {
  static const GDBusInterfaceVTable table = {&called, nullptr, nullptr, {}};
  GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kProbeXml, nullptr);
  g_dbus_connection_register_object(bus, kProbePath, node->interfaces[0], &table, nullptr, nullptr,
                                    nullptr);
  g_dbus_node_info_unref(node);
}

}  // namespace

void serveProbe(const ProbeFunctions& functions) {
  served = functions;
  g_bus_own_name(G_BUS_TYPE_SESSION, kProbeName, G_BUS_NAME_OWNER_FLAGS_NONE, &publish, nullptr,
                 nullptr, nullptr, nullptr);
}

void returnNoSuchWindow(GDBusMethodInvocation* invocation) {
  g_dbus_method_invocation_return_dbus_error(invocation, kProbeError, "no such window");
}

void returnNotOfThisHost(GDBusMethodInvocation* invocation) {
  g_dbus_method_invocation_return_dbus_error(invocation, kProbeError, "not of this host");
}

PlaceList::PlaceList() {
  g_variant_builder_init(&places_, G_VARIANT_TYPE("a(ss(dddd))"));
}

void PlaceList::add(const std::string& name, const char* kind, double x, double y, double width,
                    double height) {
  char* valid = g_utf8_make_valid(name.c_str(), -1);
  g_variant_builder_add(&places_, "(ss(dddd))", valid, kind, x, y, width, height);
  g_free(valid);
}

GVariant* PlaceList::finish() {
  return g_variant_new("(a(ss(dddd)))", &places_);
}

bool PictureFile::write(const std::string& file) const {
  const std::array<std::uint32_t, 3> header = {width, height, scale};
  std::ofstream out(file, std::ios::binary);
  out.write(reinterpret_cast<const char*>(header.data()), sizeof header);
  out.write(reinterpret_cast<const char*>(pixels.data()),
            static_cast<std::streamsize>(pixels.size() * sizeof(std::uint32_t)));
  return out.good();
}

}  // namespace wevora::testing_host
