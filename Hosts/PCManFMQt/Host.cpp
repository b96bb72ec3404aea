#include "Hosts/PCManFMQt/Host.h"

#include <QTreeView>
#include <algorithm>

namespace wevora::pcmanfmqt {
namespace {

CellKind kindOf(const QAbstractItemView& view) {
  if (qobject_cast<const QTreeView*>(&view) != nullptr) return CellKind::List;
  const QObject* owner = view.parent();
  return owner != nullptr && owner->inherits("PCManFM::DesktopWindow") ? CellKind::Desktop
                                                                       : CellKind::Icon;
}

}  // namespace

Host::Host(platform::Runtime& runtime)
    : views_(hosts::View::registerIn(runtime)),
      nodes_(runtime),
      cells_(runtime),
      sidebars_(runtime, *views_),
      desktop_(runtime, *views_, [this] { return viewsOfDesktop(); }),
      browserWindows_(runtime, *views_, *this) {}

void Host::itemsAppeared(QAbstractItemView& view) {
  auto& items = items_[&view];
  if (items) return;
  items = std::make_unique<ItemView>(
      view, kindOf(view), ItemView::Makers{.nodes = nodes_, .cells = cells_, .views = *views_});
  QObject::connect(&view, &QObject::destroyed, &sidebars_,
                   [this](QObject* destroyed) { items_.erase(destroyed); });
}

void Host::windowAppeared(QWidget& window) {
  std::erase_if(windows_, [](const auto& known) { return known.second.isNull(); });
  for (const auto& [number, known] : windows_)
    if (known == &window) return;
  static std::int64_t latest = 0;
  windows_.emplace(++latest, &window);
}

void Host::itemsPainted(QAbstractItemView& view, const QRect& area) {
  if (const auto found = items_.find(&view); found != items_.end()) found->second->paintOver(area);
}

std::vector<std::int64_t> Host::windows() const {
  std::vector<std::int64_t> open;
  for (const auto& [number, window] : windows_)
    if (window && window->isVisible()) open.push_back(number);
  return open;
}

QWidget* Host::windowNumbered(std::int64_t number) const {
  const auto found = windows_.find(number);
  return found == windows_.end() ? nullptr : found->second.data();
}

std::vector<ItemView*> Host::viewsIn(const QWidget* window) const {
  std::vector<ItemView*> inWindow;
  for (const auto& [widget, items] : items_)
    if (window != nullptr && items->view() != nullptr && items->view()->window() == window)
      inWindow.push_back(items.get());
  return inWindow;
}

std::vector<ItemView*> Host::viewsOfDesktop() const {
  std::vector<ItemView*> shown;
  for (const auto& [widget, items] : items_)
    if (items->kind() == CellKind::Desktop && items->view() != nullptr)
      shown.push_back(items.get());
  return shown;
}

std::vector<hosts::VisibleCell> Host::visibleCells(std::int64_t window) const {
  std::vector<hosts::VisibleCell> visible;
  for (auto* items : viewsIn(windowNumbered(window)))
    for (const auto& cell : items->visibleCells()) visible.push_back({cell->node(), cell});
  return visible;
}

std::vector<platform::Id> Host::sidebars(std::int64_t window) const {
  const auto* const shown = windowNumbered(window);
  return shown == nullptr ? std::vector<platform::Id>() : sidebars_.sidebarsOf(shown);
}

void Host::redraw(std::int64_t window) {
  for (const auto* items : viewsIn(windowNumbered(window))) items->redraw();
}

}  // namespace wevora::pcmanfmqt
