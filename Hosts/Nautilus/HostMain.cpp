#include "Hosts/Nautilus/Host.h"
#include "Hosts/Nautilus/Libraries.h"
#include "Platform/Support/Guard.h"

namespace wevora::nautilus {
namespace {

/// The bundle looks the host's classes up while it loads. Without a bundle the host's widgets are
/// left alone.
void start() {
  static platform::NeverDestroyed<Host> host(platform::Runtime::shared());
  if (loadAndCall(kBundleLibrary, kBundleEntry)) observeWidgets(*host);
}

}  // namespace
}  // namespace wevora::nautilus

extern "C" [[gnu::visibility("default")]] void wevora_nautilus_start() noexcept {
  wevora::platform::swallowing(&wevora::nautilus::start);
}
