#include "Hosts/Nautilus/Host.h"
#include "Platform/Bundles/Bundle.h"
#include "Platform/Support/Guard.h"

namespace wevora::nautilus {
namespace {

constexpr const char* kBundlePath = "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle";

/// The bundle looks the host's classes up while it loads. Without a bundle the host's widgets are
/// left alone.
void start() {
  auto& runtime = platform::Runtime::shared();
  if (!Host::mayBePresentedTo(runtime)) return;
  static platform::NeverDestroyed<Host> host(runtime);
  const auto bundle =
      platform::Bundle::bundleWithPath(kBundlePath, platform::InstalledPaths::shared());
  if (bundle && bundle->load()) observeWidgets(*host);
}

}  // namespace
}  // namespace wevora::nautilus

extern "C" [[gnu::visibility("default")]] void wevora_nautilus_start() noexcept {
  wevora::platform::swallowing(&wevora::nautilus::start);
}
