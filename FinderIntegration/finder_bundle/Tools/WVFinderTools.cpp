#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"

#include <chrono>
#include <cstdint>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/WVTFENodeHelper.h"
#include "Platform/Base/Guard.h"
#include "Platform/Base/Strings.h"
#include "Platform/System/SystemServices.h"

namespace wevora {
namespace {

using platform::Id;
using platform::send;

constexpr std::uint64_t kWindowsOnAllSpaces = 16;
constexpr std::chrono::nanoseconds kLoadDelay{2'000'000'000};
constexpr std::chrono::nanoseconds kDesktopDelay{2'000'000'000};
constexpr double kDesktopInterval = 3.0;  // seconds

}  // namespace

WVFinderTools& WVFinderTools::sharedTools() {
  auto& services = platform::SystemServices::shared();
  static platform::NeverDestroyed<WVFinderTools> tools(
      services.runtime, services.dispatch.mainQueue(), services.clock);
  return *tools;
}

void WVFinderTools::load() {
  mainQueue_.after(kLoadDelay, [this] { updateWindows(); });
}

template <class Visit>
void WVFinderTools::visitBrowserWindows(Visit visit) const {
  const auto browserControllers = runtime_.classNamed("TBrowserWindowController");
  const Id windows = runtime_.classNamed("NSWindow");
  const Id application = send<Id>(runtime_.classNamed("NSApplication"), "sharedApplication");
  for (const std::int64_t number :
       send<std::vector<std::int64_t>>(windows, "windowNumbersWithOptions:", kWindowsOnAllSpaces)) {
    const Id window = send<Id>(application, "windowWithWindowNumber:", number);
    const Id controller = send<Id>(window, "windowController");
    if (!controller || !controller->isKindOf(browserControllers.get())) continue;
    const Id browser = send<Id>(controller, "browserViewController");
    send<void>(send<Id>(browser, "browserView"), "setNeedsDisplay:", true);
    visit(browser);
  }
}

void WVFinderTools::updateWindows() {
  mainQueue_.async(
      [this] { platform::catchAll([this] { visitBrowserWindows([](const Id&) {}); }); });
}

void WVFinderTools::updateNodesWithPath(std::vector<std::string> paths) {
  mainQueue_.async([this, paths = std::move(paths)] {
    const PathSet wanted(paths.begin(), paths.end());
    visitBrowserWindows([&](const Id& browser) { redrawVisibleNodes(wanted, browser); });
  });
}

void WVFinderTools::updateVisibleNodesWithPath(const std::vector<std::string>& paths,
                                               const Id& inController) const {
  redrawVisibleNodes(PathSet(paths.begin(), paths.end()), inController);
}

void WVFinderTools::redrawVisibleNodes(const PathSet& paths, const Id& controller) const {
  platform::catchAll([&] {
    if (send<std::uint64_t>(controller, "itemCount") == 0) return;
    TFENodeVector nodes;
    send<void>(controller, "getVisibleNodes:", &nodes);
    for (const auto& node : nodes) redrawNode(node, paths, controller);
  });
}

void WVFinderTools::redrawNode(const TFENode& node, const PathSet& paths,
                               const Id& controller) const {
  const auto url = WVTFENodeHelper::pathForNode(&node, runtime_);
  if (!url || !paths.contains(platform::lowercased(url->path()))) return;
  const Id cell = send<Id>(controller, "getCellForNode:", node);
  send<void>(send<Id>(cell, "controlView"), "setNeedsDisplay:", true);
}

void WVFinderTools::updateDesktopForce(bool force) {
  // If the clock throws, the request is dropped.
  platform::catchAll([&] {
    const platform::Date now = clock_.now();
    const bool throttled = date_ && now - *date_ < kDesktopInterval && !force;
    if (!throttled) {
      mainQueue_.async([this, now] { reloadDesktop(now); });
    } else if (!after_) {
      after_ = true;
      mainQueue_.after(kDesktopDelay, [this, now] {
        const platform::ScopeExit done([this] { after_ = false; });
        reloadDesktop(now);
      });
    }
  });
}

void WVFinderTools::reloadDesktop(platform::Date requested) {
  // Even if the desktop raises an exception, the throttle counts from this request.
  const platform::ScopeExit mark([&] { date_ = requested; });
  date_.reset();
  const Id desktop =
      send<Id>(runtime_.classNamed("TDesktopViewController"), "sharedDesktopViewController");
  send<void>(desktop, "reloadData");
  send<void>(desktop, "updateNodes:", send<std::vector<Id>>(desktop, "nodes"));
  send<void>(send<Id>(desktop, "inlinePreviewView"), "setNeedsDisplay:", true);
}

}  // namespace wevora
