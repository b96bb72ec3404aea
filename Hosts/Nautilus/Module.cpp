#include <array>
#include <gmodule.h>
#include <string_view>
#include <unistd.h>

#include <glib-object.h>

#include "Hosts/Common/Libraries.h"
#include "Platform/Base/Guard.h"

namespace wevora::nautilus {
namespace {

// The installed library with the host's side of the bundle, and its entry point.
constexpr const char* kHostLibrary = "/Library/Wevora/FinderPlugin/Hosts/nautilus.so";
constexpr const char* kHostEntry = "wevora_nautilus_start";

/// Other programs load the extension modules too, for their file choosers.
bool isInsideNautilus() {
  std::array<char, 4096> target{};
  const ssize_t length = ::readlink("/proc/self/exe", target.data(), target.size());
  if (length <= 0) return false;
  const std::string_view program(target.data(), static_cast<std::size_t>(length));
  return program.substr(program.rfind('/') + 1) == "nautilus";
}

}  // namespace
}  // namespace wevora::nautilus

// Other programs load this library as well, so it links only to small dependencies and loads the
// rest inside Nautilus.
extern "C" {

// g_type_module_use pins the module: unloading it would leave dangling callbacks in the host.
G_MODULE_EXPORT void nautilus_module_initialize(GTypeModule* module) {
  using namespace wevora;
  if (!nautilus::isInsideNautilus()) return;
  g_type_module_use(module);
  platform::catchAll([] { hosts::loadAndCall(nautilus::kHostLibrary, nautilus::kHostEntry); });
}

G_MODULE_EXPORT void nautilus_module_list_types(const GType** types, int* count) {
  static constexpr std::array<GType, 1> kNoTypes{};
  *types = kNoTypes.data();
  *count = 0;
}

G_MODULE_EXPORT void nautilus_module_shutdown() {}

}  // extern "C"
