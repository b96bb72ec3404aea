// The entry points of the probe. They are not in Probe.cpp because the header that declares them
// there lacks C linkage.

#include <array>
#include <gmodule.h>

#include <glib-object.h>

#include "Tests/NautilusHost/Probe.h"

extern "C" {

G_MODULE_EXPORT void nautilus_module_initialize(GTypeModule* module) {
  g_type_module_use(module);
  wevora::testing_host::startProbe();
}

G_MODULE_EXPORT void nautilus_module_list_types(const GType** types, int* count) {
  static constexpr std::array<GType, 1> kNoTypes{};
  *types = kNoTypes.data();
  *count = 0;
}

G_MODULE_EXPORT void nautilus_module_shutdown() {}

}  // extern "C"
