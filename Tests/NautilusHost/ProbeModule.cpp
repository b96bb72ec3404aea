#include <array>
#include <gmodule.h>

#include <glib-object.h>

#include "Tests/HostSession/ProbeInterface.h"

extern "C" {

G_MODULE_EXPORT void nautilus_module_initialize(GTypeModule* module) {
  g_type_module_use(module);
  wevora::testing_host::serveProbe();
}

G_MODULE_EXPORT void nautilus_module_list_types(const GType** types, int* count) {
  static constexpr std::array<GType, 1> kNone{};
  *types = kNone.data();
  *count = 0;
}

G_MODULE_EXPORT void nautilus_module_shutdown() {}

}  // extern "C"
