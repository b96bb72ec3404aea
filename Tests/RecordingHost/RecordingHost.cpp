#include "Tests/RecordingHost/RecordingHost.h"

#include <cstdint>

namespace wevora::testing_host {
namespace {

using platform::HostException;
using platform::Implementation;

template <class T>
T& as(const Id& object) {
  return dynamic_cast<T&>(*object);
}

/// A method that returns an instance variable.
Implementation getter(const char* name) {
  return Implementation::of<Id()>(
      [name](const Id& self) { return self->instanceVariable<Id>(name).value_or(nullptr); });
}

}  // namespace

RecordingHost::RecordingHost(Classes classes) {
  registerViews();
  registerNodes(classes);
  registerWindows(classes);
  registerDesktop(classes);
}

void RecordingHost::registerViews() {
  viewClass_ = runtime.registerClass("NSView");
  viewClass_->addMethod(
      "setNeedsDisplay:", Implementation::of<void(bool)>([](const Id& self, bool needed) {
        if (needed) ++as<View>(self).redraws;
      }),
      "v@:B");
  layerClass_ = runtime.registerClass("CALayer");
  layerClass_->addMethod(
      "setNeedsDisplay",
      Implementation::of<void()>([](const Id& self) { ++as<View>(self).redraws; }), "v@:");
}

void RecordingHost::registerNodes(const Classes& classes) {
  nodeClass_ = std::make_shared<Class>("FINode", nullptr);
  if (classes.nodes) nodeClass_ = runtime.registerClass("FINode");
  nodeClass_->addMethod("previewItemURL",
                        Implementation::of<std::optional<ItemURL>()>(
                            [](const Id& self) { return as<Node>(self).url; }),
                        "@@:");
  nodeClass_->addClassMethod(
      "nodeFromNodeRef:", Implementation::of<Id(TFENode)>([this](const Id&, TFENode reference) {
        for (const auto& node : nodes_)
          if (node.get() == reference.fNodeRef) return Id(node);
        return Id();
      }),
      "@@:^v");
}

void RecordingHost::registerWindows(const Classes& classes) {
  windowClass_ = std::make_shared<Class>("NSWindow", nullptr);
  if (classes.windows) windowClass_ = runtime.registerClass("NSWindow");
  windowClass_->addClassMethod("windowNumbersWithOptions:",
                               Implementation::of<std::vector<std::int64_t>(std::uint64_t)>(
                                   [this](const Id&, std::uint64_t options) {
                                     std::vector<std::int64_t> numbers;
                                     if (options == 16)
                                       for (std::size_t i = 0; i < windows_.size(); ++i)
                                         numbers.push_back(static_cast<std::int64_t>(i) + 100);
                                     return numbers;
                                   }),
                               "@@:Q");
  windowClass_->addMethod("windowController", getter("controller"), "@@:");
  const auto application = runtime.registerClass("NSApplication");
  application->addClassMethod("sharedApplication", Implementation::of<Id()>([](const Id& self) {
                                return std::make_shared<Object>(dynamic_cast<Class&>(*self));
                              }),
                              "@@:");
  application->addMethod("windowWithWindowNumber:",
                         Implementation::of<Id(std::int64_t)>([this](const Id&, std::int64_t n) {
                           return windows_.at(static_cast<std::size_t>(n - 100));
                         }),
                         "@@:q");

  const auto controller = runtime.registerClass("NSWindowController");
  otherControllerClass_ = runtime.registerClass("TInspectorWindowController", controller.get());
  otherControllerClass_->addMethod("browserView", getter("view"), "@@:");
  browserControllerClass_ = std::make_shared<Class>("TBrowserWindowController", controller.get());
  if (classes.browserControllers)
    browserControllerClass_ = runtime.registerClass("TBrowserWindowController", controller.get());
  browserControllerClass_->addMethod(
      "browserViewController", Implementation::of<Id()>([](const Id& self) {
        Id browser = self->instanceVariable<Id>("browser").value_or(nullptr);
        if (!browser) throw HostException("no browser in this window");
        return browser;
      }),
      "@@:");

  browserClass_ = runtime.registerClass("TBrowserViewController");
  cellClass_ = std::make_shared<Class>("TListViewIconAndTextCell", nullptr);
  if (classes.listCells) cellClass_ = runtime.registerClass("TListViewIconAndTextCell");
  cellClass_->addMethod("controlView", getter("controlView"), "@@:");
  browserClass_->addMethod(
      "browserView",
      Implementation::of<Id()>([](const Id& self) { return Id(as<Browser>(self).view); }), "@@:");
  browserClass_->addMethod("itemCount", Implementation::of<std::uint64_t()>([](const Id& self) {
                             return std::uint64_t{as<Browser>(self).items.size()};
                           }),
                           "Q@:");
  browserClass_->addMethod(
      "getVisibleNodes:",
      Implementation::of<void(TFENodeVector*)>([](const Id& self, TFENodeVector* out) {
        if (as<Browser>(self).raises) throw HostException("no nodes now");
        for (const auto& item : as<Browser>(self).items) out->push_back({item.node.get()});
      }),
      "v@:^v");
  browserClass_->addMethod(
      "getCellForNode:", Implementation::of<Id(TFENode)>([this](const Id& self, TFENode node) {
        for (const auto& item : as<Browser>(self).items) {
          if (item.node.get() != node.fNodeRef) continue;
          Id cell = std::make_shared<Object>(*cellClass_);
          cell->setInstanceVariable("controlView", Id(item.controlView));
          return cell;
        }
        return Id();
      }),
      "@@:^v");
}

void RecordingHost::registerDesktop(const Classes& classes) {
  desktopPreview = makeView();
  desktopClass_ = std::make_shared<Class>("TDesktopViewController", nullptr);
  if (classes.desktop) desktopClass_ = runtime.registerClass("TDesktopViewController");
  desktopNodes_ = {std::make_shared<Node>(*nodeClass_, "/Desktop/a")};
  desktopClass_->addClassMethod("sharedDesktopViewController",
                                Implementation::of<Id()>([](const Id& self) {
                                  return std::make_shared<Object>(dynamic_cast<Class&>(*self));
                                }),
                                "@@:");
  desktopClass_->addMethod("reloadData", Implementation::of<void()>([this](const Id&) {
                             if (desktopRaises) throw HostException("no desktop now");
                             ++desktopReloads;
                             calls.emplace_back("reloadData");
                           }),
                           "v@:");
  desktopClass_->addMethod("nodes", Implementation::of<std::vector<Id>()>([this](const Id&) {
                             calls.emplace_back("nodes");
                             return desktopNodes_;
                           }),
                           "@@:");
  desktopClass_->addMethod(
      "updateNodes:",
      Implementation::of<void(std::vector<Id>)>([this](const Id&, const std::vector<Id>& nodes) {
        if (nodes == desktopNodes_) ++desktopUpdates;
        calls.emplace_back("updateNodes:");
      }),
      "v@:@");
  desktopClass_->addMethod("inlinePreviewView", Implementation::of<Id()>([this](const Id&) {
                             calls.emplace_back("inlinePreviewView");
                             return Id(desktopPreview);
                           }),
                           "@@:");
}

void RecordingHost::addWindow(Id controller) {
  const Id window = std::make_shared<Object>(*windowClass_);
  window->setInstanceVariable("controller", std::move(controller));
  windows_.push_back(window);
}

std::shared_ptr<Browser> RecordingHost::addBrowserWindow(const std::vector<std::string>& paths) {
  auto browser = std::make_shared<Browser>(*browserClass_);
  browser->view = makeView();
  for (const auto& path : paths) {
    auto node = std::make_shared<Node>(*nodeClass_, path);
    nodes_.push_back(node);
    browser->items.push_back({node, makeView()});
  }
  const Id controller = std::make_shared<Object>(*browserControllerClass_);
  controller->setInstanceVariable("browser", Id(browser));
  addWindow(controller);
  return browser;
}

std::shared_ptr<View> RecordingHost::addInformationPanel() {
  auto view = makeView();
  const Id controller = std::make_shared<Object>(*otherControllerClass_);
  controller->setInstanceVariable("view", Id(view));
  addWindow(controller);
  return view;
}

void RecordingHost::addRaisingWindow() {
  addWindow(std::make_shared<Object>(*browserControllerClass_));
}

std::shared_ptr<Node> RecordingHost::makeNode(const std::string& path) {
  nodes_.push_back(std::make_shared<Node>(*nodeClass_, path));
  return nodes_.back();
}

}  // namespace wevora::testing_host
