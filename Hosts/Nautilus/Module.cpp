#include <array>
#include <gmodule.h>
#include <string_view>
#include <unistd.h>

#include <glib-object.h>

#include "Hosts/Common/Libraries.h"
#include "Platform/Base/Guard.h"

namespace wevora::nautilus {
namespace {

// The host's side of the bundle, by its installed place, and where it begins.
constexpr const char* kHostLibrary = "/Library/Wevora/FinderPlugin/Hosts/nautilus.so";
constexpr const char* kHostEntry = "wevora_nautilus_start";

/// File choosers load the host's modules into other programs too.
bool isInsideTheHost() {
  std::array<char, 4096> target{};
  const ssize_t length = ::readlink("/proc/self/exe", target.data(), target.size());
  if (length <= 0) return false;
  const std::string_view program(target.data(), static_cast<std::size_t>(length));
  return program.substr(program.rfind('/') + 1) == "nautilus";
}

}  // namespace
}  // namespace wevora::nautilus

// This library is all that other programs ever see of the system: it brings no other with it.
extern "C" {

// A module that nobody uses is unmapped, and what it left with the host would point nowhere.
G_MODULE_EXPORT void nautilus_module_initialize(GTypeModule* module) {
  using namespace wevora;
  if (!nautilus::isInsideTheHost()) return;
  g_type_module_use(module);
  platform::catchAll([] { hosts::loadAndCall(nautilus::kHostLibrary, nautilus::kHostEntry); });
}

G_MODULE_EXPORT void nautilus_module_list_types(const GType** types, int* count) {
  static constexpr std::array<GType, 1> kNone{};
  *types = kNone.data();
  *count = 0;
}

G_MODULE_EXPORT void nautilus_module_shutdown() {}

}  // extern "C"
