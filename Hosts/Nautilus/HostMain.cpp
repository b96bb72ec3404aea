#include "Hosts/Common/Bundle.h"
#include "Hosts/Nautilus/Host.h"
#include "Platform/Base/Guard.h"

namespace wevora::nautilus {
namespace {

/// Registers the host's classes first, because the bundle looks them up while it loads. Without a
/// bundle, the host's widgets are not touched.
void start() {
  auto& runtime = platform::Runtime::shared();
  if (!Host::canRegisterIn(runtime)) return;
  static platform::NeverDestroyed<Host> host(runtime);
  if (hosts::loadBundle()) observeWidgets(*host);
}

}  // namespace
}  // namespace wevora::nautilus

extern "C" [[gnu::visibility("default")]] void wevora_nautilus_start() noexcept {
  wevora::platform::catchAll(&wevora::nautilus::start);
}
