#include "FinderIntegration/finder_bundle/InjectedBundleClass.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <vector>

#include "FinderIntegration/finder_bundle/Tools/WVMethodOverload.h"
#include "FinderIntegration/finder_bundle/WVOutlineViewDelegate.h"
#include "Platform/PropertyLists/PropertyLists.h"
#include "Platform/Support/Guard.h"

namespace wevora {
namespace {

using platform::send;

constexpr std::string_view kVersionFile =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Info.plist";
constexpr std::string_view kVersionKey = "kFinderVersion";
constexpr const char* kSetDelegateTypes = "v:@";  // not the usual form; kept

/// The leading decimal integer of a text, 0 where there is none.
std::int32_t integerValue(const std::string& text) {
  using Limits = std::numeric_limits<std::int32_t>;
  const auto value = platform::Value(text).longLongValue();
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

std::vector<std::string> componentsSeparatedByDots(std::string_view text) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0;;) {
    const std::size_t dot = text.find('.', begin);
    parts.emplace_back(text.substr(begin, dot - begin));
    if (dot == std::string_view::npos) return parts;
    begin = dot + 1;
  }
}

}  // namespace

InjectedBundleClass::InjectedBundleClass(Services services) : services_(std::move(services)) {
  WVOutlineViewDelegate::registerIn(services_.runtime, services_.paths);
}

void InjectedBundleClass::load() {
  platform::swallowing([this] { reportVersion(); });
  platform::swallowing([this] {
    hookSidebars();
    walkWindows("sidebarViewContainer");
  });
}

void InjectedBundleClass::reportVersion() const {
  const auto list = platform::PropertyLists::read(services_.paths.translate(kVersionFile));
  const auto* info = list ? list->as<platform::Dictionary>() : nullptr;
  const auto* version = info ? platform::valueAs<std::string>(*info, kVersionKey) : nullptr;
  if (version == nullptr || !services_.setVersion) return;
  const auto parts = componentsSeparatedByDots(*version);
  if (parts.size() != 3) return;
  services_.mainQueue.async([setVersion = services_.setVersion, major = integerValue(parts[0]),
                             minor = integerValue(parts[1]),
                             patch = integerValue(parts[2])] { setVersion(major, minor, patch); });
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
  platform::swallowing([&] {
    const std::string mark = level.value_or("#");
    if (!view) return;
    if (services_.visited) services_.visited(view, mark);
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
