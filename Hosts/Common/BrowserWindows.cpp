#include "Hosts/Common/BrowserWindows.h"

#include <algorithm>

#include "Hosts/Common/NewClass.h"
#include "Hosts/Common/View.h"

namespace wevora::hosts {
namespace {

using platform::Class;
using platform::Id;
using platform::Implementation;

/// An object that represents a window by its number: the window, its controller or its browser.
class WindowObject : public platform::Object {
 public:
  WindowObject(Class& isa, std::int64_t number) : Object(isa), window(number) {}
  const std::int64_t window;
};

std::int64_t windowOf(const Id& self) {
  return static_cast<const WindowObject&>(*self).window;
}

}  // namespace

Id WindowSource::visibleCell(const TFENode& node, std::int64_t window) const {
  for (const auto& visible : visibleCells(window))
    if (*visible.node->reference() == node) return visible.cell;
  return nullptr;
}

BrowserWindows::BrowserWindows(platform::Runtime& runtime, Class& views, WindowSource& source)
    : views_(views), source_(source) {
  registerWindows(runtime);
  registerControllers(runtime);
  registerBrowsers(runtime);
}

void BrowserWindows::registerWindows(platform::Runtime& runtime) {
  const auto application = newClass(runtime, "NSApplication");
  application->addClassMethod(
      "sharedApplication", Implementation::of<Id()>([](const Id& self) {
        return std::make_shared<platform::Object>(static_cast<Class&>(*self));
      }),
      "@@:");
  application->addMethod(
      "windowWithWindowNumber:",
      Implementation::of<Id(std::int64_t)>([this](const Id&, std::int64_t number) {
        const auto all = source_.windows();
        if (std::ranges::find(all, number) == all.end()) return Id();
        return Id(std::make_shared<WindowObject>(*windows_, number));
      }),
      "@@:q");

  windows_ = newClass(runtime, "NSWindow");
  windows_->addClassMethod("windowNumbersWithOptions:",
                           Implementation::of<std::vector<std::int64_t>(std::uint64_t)>(
                               [this](const Id&, std::uint64_t) { return source_.windows(); }),
                           "@@:Q");
  windows_->addMethod("windowController", Implementation::of<Id()>([this](const Id& self) {
                        return controllerOf(windowOf(self));
                      }),
                      "@@:");
}

void BrowserWindows::registerControllers(platform::Runtime& runtime) {
  controllers_ =
      newClass(runtime, "TBrowserWindowController", newClass(runtime, "NSWindowController").get());
  controllers_->addClassMethod(
      "controllerWithID:", Implementation::of<Id(std::int64_t)>([this](const Id&, std::int64_t id) {
        const auto all = source_.windows();
        if (id < 1 || static_cast<std::size_t>(id) > all.size()) return Id();
        return controllerOf(all[static_cast<std::size_t>(id) - 1]);
      }),
      "@@:q");
  controllers_->addMethod("browserViewController", Implementation::of<Id()>([this](const Id& self) {
                            return Id(std::make_shared<WindowObject>(*browsers_, windowOf(self)));
                          }),
                          "@@:");
  controllers_->addMethod(
      "sidebarViewContainer", Implementation::of<Id()>([this](const Id& self) {
        return Id(std::make_shared<View>(views_, nullptr, source_.sidebars(windowOf(self))));
      }),
      "@@:");
  controllers_->addMethod("browserViewContainer", Implementation::of<Id()>([this](const Id& self) {
                            return Id(std::make_shared<View>(
                                views_, nullptr, std::vector<Id>{browserViewOf(windowOf(self))}));
                          }),
                          "@@:");
}

void BrowserWindows::registerBrowsers(platform::Runtime& runtime) {
  browsers_ = newClass(runtime, "TBrowserViewController");
  browsers_->addMethod("browserView", Implementation::of<Id()>([this](const Id& self) {
                         return browserViewOf(windowOf(self));
                       }),
                       "@@:");
  browsers_->addMethod("itemCount", Implementation::of<std::uint64_t()>([this](const Id& self) {
                         return std::uint64_t{source_.visibleCells(windowOf(self)).size()};
                       }),
                       "Q@:");
  browsers_->addMethod(
      "getVisibleNodes:",
      Implementation::of<void(TFENodeVector*)>([this](const Id& self, TFENodeVector* nodes) {
        for (const auto& visible : source_.visibleCells(windowOf(self)))
          nodes->push_back(*visible.node->reference());
      }),
      "v@:^v");
  browsers_->addMethod(
      "getCellForNode:", Implementation::of<Id(TFENode)>([this](const Id& self, TFENode node) {
        return source_.visibleCell(node, windowOf(self));
      }),
      "@@:^v");
}

Id BrowserWindows::controllerOf(std::int64_t window) const {
  return std::make_shared<WindowObject>(*controllers_, window);
}

Id BrowserWindows::browserViewOf(std::int64_t window) const {
  return std::make_shared<View>(views_, [this, window] { source_.redraw(window); });
}

}  // namespace wevora::hosts
