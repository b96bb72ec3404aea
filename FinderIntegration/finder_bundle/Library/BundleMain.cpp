#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "FinderIntegration/finder_bundle/BundleLoad.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "FinderIntegration/wevoraLoader/sharedcheck.h"
#include "Platform/Base/Guard.h"
#include "Platform/System/SystemServices.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora {
namespace {

BundleLoad::Services servicesOfTheProcess() {
  auto& services = platform::SystemServices::shared();
  return {.principal = {.runtime = services.runtime,
                        .mainQueue = services.dispatch.mainQueue(),
                        .paths = platform::InstalledPaths::shared(),
                        .setVersion = &setVersion},
          .provider = &WVIconProvider::defaultProvider,
          .finderTools = &WVFinderTools::sharedTools,
          .loadFileTools = &WVRFileTools::load,
          .loadAgentConnector = &WVAgentConnector::load,
          .loadDateFormat = &loadNSDateDBFormat};
}

/// What the host keeps of the bundle's classes lives as long as the process.
void loadOnce() {
  static const bool loaded = [] {
    static platform::NeverDestroyed<BundleLoad> load(servicesOfTheProcess());
    load->run();
    return true;
  }();
  static_cast<void>(loaded);
}

}  // namespace
}  // namespace wevora

/// Where the bundle begins: called by what maps it into a host, on the main thread, when the host
/// has told the runtime of its classes. Once; a later call does nothing.
extern "C" [[gnu::visibility("default")]] void wevora_bundle_load() noexcept {
  wevora::platform::catchAll(&wevora::loadOnce);
}
