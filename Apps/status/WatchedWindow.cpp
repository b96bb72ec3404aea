#include "Apps/status/WatchedWindow.h"

#include <memory>
#include <utility>

#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "Hosts/Common/NewClass.h"
#include "Hosts/Common/View.h"

namespace wevora::status {

using platform::Class;
using platform::Id;

namespace {

class Cell : public platform::Object {
 public:
  Cell(Class& isa, Id view) : Object(isa), controlView(std::move(view)) {}
  const Id controlView;
};

std::shared_ptr<Class> registerCell(platform::Runtime& runtime) {
  auto cells = hosts::newClass(runtime, "TWatchedCell");
  cells->addMethod("controlView", platform::Implementation::of<Id()>([](const Id& self) {
                     return static_cast<const Cell&>(*self).controlView;
                   }),
                   "@@:");
  return cells;
}

}  // namespace

WatchedWindow::WatchedWindow(platform::Runtime& runtime, const std::vector<std::string>& paths,
                             NeedsDisplay needsDisplay)
    : needsDisplay_(std::move(needsDisplay)),
      viewClass_(hosts::View::registerIn(runtime)),
      nodes_(runtime),
      views_(paths.size()),
      browserWindows_(runtime, *viewClass_, *this) {
  const auto cells = registerCell(runtime);
  for (std::size_t item = 0; item < paths.size(); ++item) {
    auto node = nodes_.make(ItemURL(paths[item]).absoluteString());
    views_[item] =
        std::make_shared<hosts::View>(*viewClass_, [this, item] { needsDisplay_(item); });
    items_.emplace(node->reference()->fNodeRef, item);
    cells_.push_back({std::move(node), std::make_shared<Cell>(*cells, views_[item])});
  }
}

Id WatchedWindow::visibleCell(const TFENode& node, std::int64_t /*window*/) const {
  const auto found = items_.find(node.fNodeRef);
  return found == items_.end() ? nullptr : cells_[found->second].cell;
}

void WatchedWindow::redraw(std::int64_t /*window*/) {
  for (std::size_t item = 0; item < cells_.size(); ++item) needsDisplay_(item);
}

}  // namespace wevora::status
