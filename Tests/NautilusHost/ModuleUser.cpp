// A plain program that loads a module of the file manager.

#include <dlfcn.h>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include <glib-object.h>

namespace {

/// The type with which the host loads a module.
GTypeModule* typeModule() {
  const auto classInit = +[](gpointer table, gpointer) {
    auto* modules = static_cast<GTypeModuleClass*>(table);
    modules->load = +[](GTypeModule*) -> gboolean { return TRUE; };
    modules->unload = +[](GTypeModule*) {};
  };
  const GType type = g_type_register_static_simple(G_TYPE_TYPE_MODULE, "WevoraTestModule",
                                                   sizeof(GTypeModuleClass), classInit,
                                                   sizeof(GTypeModule), nullptr, {});
  return static_cast<GTypeModule*>(g_object_new(type, nullptr));  // lives as long as the process
}

bool isMapped(std::string_view library) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);)
    if (line.find(library) != std::string::npos) return true;
  return false;
}

/// Loads the module and prints which of the product's libraries are mapped afterwards.
int loadModule(const char* file) {
  void* const module = ::dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) return 1;
  const auto initialize =
      reinterpret_cast<void (*)(GTypeModule*)>(::dlsym(module, "nautilus_module_initialize"));
  const auto listTypes = reinterpret_cast<void (*)(const GType**, int*)>(
      ::dlsym(module, "nautilus_module_list_types"));
  if (initialize == nullptr || listTypes == nullptr) return 1;
  GTypeModule* const used = typeModule();
  initialize(used);
  const GType* types = nullptr;
  int count = -1;
  listTypes(&types, &count);
  std::cout << "uses " << used->use_count << ", types " << count;
  for (const char* library : {"/nautilus.so", "libwevora_graphics", "libwevora_runtime"})
    if (isMapped(library)) std::cout << ", " << library;
  std::cout << "\n";
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  return count == 2 ? loadModule(arguments[1]) : 1;
}
