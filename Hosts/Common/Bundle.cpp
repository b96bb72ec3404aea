#include "Hosts/Common/Bundle.h"

#include "Platform/Bundles/Bundle.h"

namespace wevora::hosts {
namespace {

constexpr const char* kBundlePath = "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle";

}  // namespace

bool loadBundle() {
  const auto bundle =
      platform::Bundle::bundleWithPath(kBundlePath, platform::InstalledPaths::shared());
  return bundle && bundle->load();
}

}  // namespace wevora::hosts
