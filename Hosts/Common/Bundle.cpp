#include "Hosts/Common/Bundle.h"

#include "FinderIntegration/wevoraLoader/InstalledBundle.h"
#include "Platform/Installation/Bundle.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora::hosts {

bool loadBundle() {
  const auto bundle =
      platform::Bundle::bundleWithPath(kBundlePath, platform::InstalledPaths::shared());
  return bundle && bundle->load();
}

}  // namespace wevora::hosts
