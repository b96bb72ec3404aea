#include "FinderIntegration/finder_bundle/InjectedBundleClass.h"

#include <utility>
#include <vector>

#include "FinderIntegration/finder_bundle/Tools/WVMethodOverload.h"
#include "FinderIntegration/finder_bundle/WVOutlineViewDelegate.h"
#include "FinderIntegration/wevoraLoader/InstalledVersion.h"
#include "Platform/Base/Guard.h"

namespace wevora {
namespace {

using platform::send;

constexpr const char* kSetDelegateTypes = "v:@";  // not the usual form, but as declared

}  // namespace

InjectedBundleClass::InjectedBundleClass(Services services) : services_(std::move(services)) {
  WVOutlineViewDelegate::registerIn(services_.runtime, services_.paths);
}

void InjectedBundleClass::load() {
  platform::catchAll([this] { reportVersion(); });
  platform::catchAll([this] {
    hookSidebars();
    walkWindows("sidebarViewContainer");
  });
}

void InjectedBundleClass::reportVersion() const {
  const auto version = installedVersion(services_.paths);
  if (!version || !services_.setVersion) return;
  services_.mainQueue.async([setVersion = services_.setVersion, version = *version] {
    setVersion(version.major, version.minor, version.patch);
  });
}

void InjectedBundleClass::hookSidebars() const {
  WVMethodOverload::overloadSelector(
      "setDelegate:", services_.runtime.classNamed("TSidebarView").get(),
      "wvr_setDelegate:", services_.runtime.classNamed("WVOutlineViewDelegate").get(),
      kSetDelegateTypes);
}

void InjectedBundleClass::walkWindows(const char* container) const {
  const Id controllers = services_.runtime.classNamed("TBrowserWindowController");
  for (std::int64_t id = 1;; ++id) {
    const Id controller = send<Id>(controllers, "controllerWithID:", id);
    if (!controller) return;
    investigateSideBarViewHierarchy(send<Id>(controller, container), std::nullopt);
  }
}

void InjectedBundleClass::investigateSideBarViewHierarchy(
    const Id& view, const std::optional<std::string>& level) const {
  platform::catchAll([&] {
    const std::string mark = level.value_or("#");
    if (!view) return;
    if (view->isKindOf(services_.runtime.classNamed("TSidebarView").get())) {
      send<void>(view, "setDelegate:", send<Id>(view, "delegate"));
      send<void>(view, "setNeedsDisplay:", true);
    }
    for (const Id& subview : send<std::vector<Id>>(view, "subviews"))
      investigateSideBarViewHierarchy(subview, mark + "#");
  });
}

void InjectedBundleClass::observe() const {
  walkWindows("browserViewContainer");
}

}  // namespace wevora
