#include "Hosts/Common/Libraries.h"

#include <dlfcn.h>

#include "Platform/Installation/InstalledPaths.h"

namespace wevora::hosts {

bool loadAndCall(const char* library, const char* entry) {
  const auto path = platform::InstalledPaths::shared().translate(library);
  void* const mapped = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (mapped == nullptr) return false;
  const auto function = reinterpret_cast<void (*)()>(::dlsym(mapped, entry));
  if (function == nullptr) return false;
  function();
  return true;
}

}  // namespace wevora::hosts
