#include "FinderIntegration/finder_bundle/BundleLoad.h"

#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora {

BundleLoad::BundleLoad(Services services)
    : injectedBundleClass_(services.principal),
      iconViewOverlay_(services.principal.runtime, services.provider),
      iconCell_(services.principal.runtime, services.provider),
      desktopIcon_(services.principal.runtime, services.principal.mainQueue, services.provider,
                   services.finderTools),
      hooks_{{{"WVRFileTools", std::move(services.loadFileTools)},
              {"WVAgentConnector", std::move(services.loadAgentConnector)},
              {"InjectedBundleClass", [this] { injectedBundleClass_.load(); }},
              {"IconViewOverlay", [this] { iconViewOverlay_.load(); }},
              {"WVIconCell", [this] { iconCell_.load(); }},
              {"WVFinderTools", [tools = services.finderTools] { tools().load(); }},
              {"WVRDesktopIcon", [this] { desktopIcon_.load(); }},
              {"NSDate(DBFormat)", std::move(services.loadDateFormat)}}} {}

void BundleLoad::run() const {
  for (const auto& hook : hooks_) {
    if (!hook.load) continue;
    platform::catchAll(hook.load);
  }
}

}  // namespace wevora
