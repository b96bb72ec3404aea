#include "Hosts/PCManFMQt/Desktop.h"

#include <algorithm>
#include <utility>

#include "Hosts/Common/NewClass.h"
#include "Hosts/Common/View.h"

namespace wevora::pcmanfmqt {

using platform::Class;
using platform::Id;
using platform::Implementation;

Desktop::Desktop(platform::Runtime& runtime, Class& views, ViewsOfDesktop viewsOfDesktop)
    : views_(views),
      viewsOfDesktop_(std::move(viewsOfDesktop)),
      controllers_(hosts::newClass(runtime, "TDesktopViewController")) {
  controllers_->addClassMethod("sharedDesktopViewController",
                               Implementation::of<Id()>([this](const Id&) {
                                 if (viewsOfDesktop_().empty()) return Id();
                                 return Id(std::make_shared<platform::Object>(*controllers_));
                               }),
                               "@@:");
  for (const char* selector : {"view", "inlinePreviewView"})
    controllers_->addMethod(selector,
                            Implementation::of<Id()>([this](const Id&) { return view(); }), "@@:");
  controllers_->addMethod("reloadData",
                          Implementation::of<void()>([this](const Id&) { reloadData(); }), "v@:");
  controllers_->addMethod(
      "nodes", Implementation::of<std::vector<Id>()>([this](const Id&) { return nodes(); }), "@@:");
  controllers_->addMethod("updateNodes:",
                          Implementation::of<void(std::vector<Id>)>(
                              [this](const Id&, const std::vector<Id>& all) { updateNodes(all); }),
                          "v@:@");
}

Id Desktop::view() const {
  return std::make_shared<hosts::View>(views_, [this] {
    for (const auto* shown : viewsOfDesktop_()) shown->redraw();
  });
}

void Desktop::reloadData() const {
  for (auto* shown : viewsOfDesktop_()) {
    shown->forgetCells();
    shown->redraw();
  }
}

std::vector<Id> Desktop::nodes() const {
  std::vector<Id> all;
  for (auto* shown : viewsOfDesktop_())
    for (const auto& cell : shown->allCells()) all.emplace_back(cell->node());
  return all;
}

void Desktop::updateNodes(const std::vector<Id>& nodes) const {
  for (auto* shown : viewsOfDesktop_())
    for (const auto& cell : shown->visibleCells())
      if (std::ranges::find(nodes, Id(cell->node())) != nodes.end())
        cell->view()->setNeedsDisplay(true);
}

}  // namespace wevora::pcmanfmqt
