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

/// The bundle is never destroyed: the host keeps references to its classes.
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

/// The bundle's entry point. The code that maps the bundle into a host calls it on the main thread,
/// after the host has registered its classes in the runtime. Later calls do nothing.
extern "C" [[gnu::visibility("default")]] void wevora_bundle_load() noexcept {
  wevora::platform::catchAll(&wevora::loadOnce);
}
