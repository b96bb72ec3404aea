#include "Hosts/Nautilus/Cells.h"

#include "Hosts/Nautilus/Redraw.h"
#include "Platform/Base/Guard.h"

namespace wevora::nautilus {
namespace {

using platform::catchAll;
using platform::Class;

bool isVisibleIn(GtkWidget* window, GtkWidget* widget) {
  return gtk_widget_get_mapped(widget) && GTK_WIDGET(gtk_widget_get_root(widget)) == window;
}

}  // namespace

Cells::Cells(platform::Runtime& runtime, hosts::Nodes& nodes, Class& views)
    : nodes_(nodes), views_(views), classes_(runtime) {}

Cells::Slot::Slot(Cells& cells, GtkWidget* widget)
    : view(std::make_shared<hosts::View>(cells.views_, redrawing(widget, &gtk_widget_queue_draw))),
      item(G_OBJECT(widget), [&cells, widget] { cells.itemMoved(widget); }) {}

GtkWidget* Cells::Slot::iconOf(GtkWidget* widget) {
  const auto reference = icon.get();
  // Safe to return without the reference: the widget owns its children.
  GtkWidget* const cached = reference.get();
  if (cached != nullptr && gtk_widget_is_ancestor(cached, widget)) return cached;
  GtkWidget* const found = nautilus::iconOf(widget);
  icon.set(found);
  return found;
}

void Cells::draw(CellKind kind, GtkWidget* widget, GtkSnapshot* snapshot) {
  std::shared_ptr<Cell> cell;
  GtkWidget* icon = nullptr;
  catchAll([&] {
    auto& slot = slotOf(widget);
    icon = slot.iconOf(widget);
    cell = cellOf(kind, widget, slot);
  });
  if (cell)
    cell->draw({widget, icon, snapshot, textures_, classes_.imageWrappers()});
  else
    drawHostCell(kind, widget, snapshot);
}

std::shared_ptr<Cell> Cells::cellOf(CellKind kind, GtkWidget* widget, Slot& slot) {
  const auto& uri = slot.item.uri();
  if (slot.cell && uri != slot.cell->node()->uri()) forgetCell(slot);
  if (!slot.cell && uri) {
    Class& isa = kind == CellKind::Grid ? classes_.iconCells() : classes_.listCells();
    slot.cell = std::make_shared<Cell>(isa, kind, nodes_.make(*uri), slot.view);
    widgets_.insert_or_assign(slot.cell->node().get(), widget);
  }
  return slot.cell;
}

Cells::Slot& Cells::slotOf(GtkWidget* widget) {
  const auto [place, isNew] = slots_.try_emplace(widget, *this, widget);
  if (isNew) watch(widget);
  return place->second;
}

void Cells::watch(GtkWidget* widget) {
  g_object_weak_ref(
      G_OBJECT(widget),
      +[](gpointer self, GObject* destroyed) noexcept {
        catchAll([&] {
          static_cast<Cells*>(self)->widgetDestroyed(reinterpret_cast<GtkWidget*>(destroyed));
        });
      },
      this);
  const auto replaced = +[](GtkWidget* changed, GParamSpec*, gpointer self) noexcept {
    catchAll([&] { static_cast<Cells*>(self)->itemReplaced(changed); });
  };
  g_signal_connect(widget, "notify::item", G_CALLBACK(replaced), this);
  // Badges may have changed while the tab was hidden.
  g_signal_connect(widget, "map", G_CALLBACK(gtk_widget_queue_draw), nullptr);
}

void Cells::forgetCell(Slot& slot) {
  if (!slot.cell) return;
  widgets_.erase(slot.cell->node().get());
  slot.cell.reset();
}

// GTK redraws a recycled widget only if its content differs; two items may have the same name and
// icon but different badges.
void Cells::itemReplaced(GtkWidget* widget) {
  gtk_widget_queue_draw(widget);
  const auto found = slots_.find(widget);
  if (found == slots_.end()) return;
  found->second.item.forget();
  forgetCell(found->second);
}

void Cells::itemMoved(GtkWidget* widget) {
  gtk_widget_queue_draw(widget);
  const auto found = slots_.find(widget);
  if (found != slots_.end()) forgetCell(found->second);
}

void Cells::widgetDestroyed(GtkWidget* widget) {
  const auto found = slots_.find(widget);
  if (found == slots_.end()) return;
  forgetCell(found->second);
  slots_.erase(found);
}

std::vector<std::shared_ptr<Cell>> Cells::visibleIn(GtkWidget* window) const {
  std::vector<std::shared_ptr<Cell>> visible;
  for (const auto& [widget, slot] : slots_)
    if (slot.cell && isVisibleIn(window, widget)) visible.push_back(slot.cell);
  return visible;
}

std::shared_ptr<Cell> Cells::visibleCellOf(const TFENode& node, GtkWidget* window) const {
  const auto widget = widgets_.find(node.fNodeRef);
  if (widget == widgets_.end() || !isVisibleIn(window, widget->second)) return nullptr;
  return slots_.at(widget->second).cell;
}

void Cells::redrawAllIn(GtkWidget* window) const {
  for (const auto& [widget, slot] : slots_)
    if (isVisibleIn(window, widget)) gtk_widget_queue_draw(widget);
}

}  // namespace wevora::nautilus
