#include "Apps/status/WatchedWindow.h"

#include <cstdint>
#include <utility>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/TFENode.h"

namespace wevora::status {
namespace {

using platform::Class;
using platform::Id;
using platform::Implementation;
using platform::Object;
using platform::Runtime;

/// A node and, with it, the cell that shows it and the view that the cell is in.
class Item : public Object {
 public:
  Item(Class& isa, const std::string& path) : Object(isa), url(path) {}
  const ItemURL url;
  Id view;
};

class View : public Object {
 public:
  View(Class& isa, std::function<void()> display) : Object(isa), needsDisplay(std::move(display)) {}
  const std::function<void()> needsDisplay;
};

Implementation answering(Id object) {
  return Implementation::of<Id()>([object = std::move(object)](const Id&) { return object; });
}

}  // namespace

struct WatchedWindow::Contents {
  NeedsDisplay needsDisplay;
  std::vector<std::shared_ptr<Item>> items;
  Id browserView;
  Id browser;

  void allNeedDisplay() const {
    for (std::size_t item = 0; item < items.size(); ++item) needsDisplay(item);
  }
};

WatchedWindow::WatchedWindow(Runtime& runtime, const std::vector<std::string>& paths,
                             NeedsDisplay needsDisplay)
    : contents_(std::make_shared<Contents>()) {
  contents_->needsDisplay = std::move(needsDisplay);
  registerNode(runtime);
  const auto node = runtime.classNamed("FINode");
  for (const auto& path : paths) contents_->items.push_back(std::make_shared<Item>(*node, path));
  registerView(runtime);
  registerBrowser(runtime);
  registerWindow(runtime);
}

Id WatchedWindow::viewOf(std::size_t item) const {
  return contents_->items[item]->view;
}

void WatchedWindow::registerNode(Runtime& runtime) {
  const auto node = runtime.registerClass("FINode");
  // A reference is the address of a place in the list, which does not grow any more.
  node->addClassMethod(
      "nodeFromNodeRef:", Implementation::of<Id(TFENode)>([](const Id&, TFENode of) {
        const auto* item = static_cast<const std::shared_ptr<Item>*>(of.fNodeRef);
        return item == nullptr ? Id() : Id(*item);
      }),
      "@@:^v");
  node->addMethod("previewItemURL",
                  Implementation::of<std::optional<ItemURL>()>([](const Id& self) {
                    return std::optional(dynamic_cast<const Item&>(*self).url);
                  }),
                  "@@:");
  node->addMethod("controlView", Implementation::of<Id()>([](const Id& self) {
                    return dynamic_cast<const Item&>(*self).view;
                  }),
                  "@@:");
}

void WatchedWindow::registerView(Runtime& runtime) {
  const auto view = runtime.registerClass("NSView");
  view->addMethod(
      "setNeedsDisplay:", Implementation::of<void(bool)>([](const Id& self, bool needed) {
        if (needed) dynamic_cast<const View&>(*self).needsDisplay();
      }),
      "v@:B");
  const auto contents = contents_.get();
  for (std::size_t item = 0; item < contents->items.size(); ++item)
    contents->items[item]->view =
        std::make_shared<View>(*view, [contents, item] { contents->needsDisplay(item); });
  contents->browserView = std::make_shared<View>(*view, [contents] { contents->allNeedDisplay(); });
}

void WatchedWindow::registerBrowser(Runtime& runtime) {
  const auto browser = runtime.registerClass("TBrowserViewController");
  browser->addMethod("browserView", answering(contents_->browserView), "@@:");
  browser->addMethod("itemCount",
                     Implementation::of<std::uint64_t()>([contents = contents_](const Id&) {
                       return std::uint64_t{contents->items.size()};
                     }),
                     "Q@:");
  browser->addMethod("getVisibleNodes:",
                     Implementation::of<void(TFENodeVector*)>(
                         [contents = contents_](const Id&, TFENodeVector* out) {
                           for (auto& item : contents->items) out->push_back({&item});
                         }),
                     "v@:^v");
  browser->addMethod(
      "getCellForNode:", Implementation::of<Id(TFENode)>([&runtime](const Id&, TFENode of) {
        return platform::send<Id>(runtime.classNamed("FINode"), "nodeFromNodeRef:", of);
      }),
      "@@:^v");
  contents_->browser = std::make_shared<Object>(*browser);
}

void WatchedWindow::registerWindow(Runtime& runtime) {
  const auto controllers = runtime.registerClass("TBrowserWindowController");
  controllers->addMethod("browserViewController", answering(contents_->browser), "@@:");
  const auto windows = runtime.registerClass("NSWindow");
  windows->addMethod("windowController", answering(std::make_shared<Object>(*controllers)), "@@:");
  windows->addClassMethod(
      "windowNumbersWithOptions:",
      Implementation::of<std::vector<std::int64_t>(std::uint64_t)>(
          [](const Id&, std::uint64_t) { return std::vector<std::int64_t>{1}; }),
      "@@:Q");
  const auto applications = runtime.registerClass("NSApplication");
  applications->addMethod(
      "windowWithWindowNumber:",
      Implementation::of<Id(std::int64_t)>([window = Id(std::make_shared<Object>(*windows))](
                                               const Id&, std::int64_t) { return window; }),
      "@@:q");
  applications->addClassMethod("sharedApplication",
                               answering(std::make_shared<Object>(*applications)), "@@:");
}

}  // namespace wevora::status
