#include "Hosts/Nautilus/Cells.h"

#include "Hosts/Common/ImageWrapper.h"
#include "Hosts/Common/NewClass.h"
#include "Hosts/Nautilus/Redraw.h"
#include "Platform/Base/Guard.h"

namespace wevora::nautilus {
namespace {

using platform::catchAll;
using platform::Class;
using platform::Id;
using platform::ImageRef;
using platform::Implementation;
using platform::Rect;

Cell& asCell(const Id& self) {
  return static_cast<Cell&>(*self);
}

std::shared_ptr<Class> registerCells(platform::Runtime& runtime, const char* name) {
  auto cells = hosts::newClass(runtime, name);
  cells->addMethod("representedItem",
                   Implementation::of<Id()>([](const Id& self) { return Id(asCell(self).node()); }),
                   "@@:");
  cells->addMethod("node", Implementation::of<const TFENode*()>([](const Id& self) {
                     return asCell(self).node()->reference();
                   }),
                   "^v@:");
  for (const char* view : {"view", "controlView"})
    cells->addMethod(
        view, Implementation::of<Id()>([](const Id& self) { return Id(asCell(self).view()); }),
        "@@:");
  return cells;
}

void addGridDrawing(Class& cells) {
  cells.addMethod("drawImage:", Implementation::of<void(Id)>([](const Id& self, const Id& wrapper) {
                    asCell(self).drawImage(wrapper);
                  }),
                  "v@:@");
  cells.addMethod(
      "drawInteriorWithFrame:inView:",
      Implementation::of<void(Rect, Id)>([](const Id& self, const Rect& frame, const Id& view) {
        asCell(self).drawInteriorWithFrame(frame, view);
      }),
      "v@:{CGRect={CGPoint=dd}{CGSize=dd}}@");
}

void addListDrawing(Class& cells) {
  cells.addMethod(
      "drawIconWithFrame:", Implementation::of<void(Rect)>([](const Id& self, const Rect& frame) {
        asCell(self).drawIconWithFrame(frame);
      }),
      "v@:{CGRect={CGPoint=dd}{CGSize=dd}}");
  cells.addMethod("thumbnail", Implementation::of<ImageRef()>([](const Id& self) {
                    return asCell(self).thumbnail();
                  }),
                  "@@:");
  cells.addMethod("setThumbnail:",
                  Implementation::of<void(ImageRef)>([](const Id&, const ImageRef&) {}), "v@:@");
}

bool isVisibleIn(GtkWidget* window, GtkWidget* widget) {
  return gtk_widget_get_mapped(widget) && GTK_WIDGET(gtk_widget_get_root(widget)) == window;
}

}  // namespace

Cells::Cells(platform::Runtime& runtime, hosts::Nodes& nodes, Class& views)
    : nodes_(nodes),
      views_(views),
      iconCells_(registerCells(runtime, "IKIconCell")),
      listCells_(registerCells(runtime, "TListViewIconAndTextCell")),
      imageWrappers_(hosts::ImageWrapper::registerIn(runtime)) {
  addGridDrawing(*iconCells_);
  addListDrawing(*listCells_);
}

Cells::Slot::Slot(Cells& cells, GtkWidget* widget)
    : view(std::make_shared<hosts::View>(cells.views_, redrawing(widget, &gtk_widget_queue_draw))),
      item(G_OBJECT(widget), [&cells, widget] { cells.itemMoved(widget); }) {}

GtkWidget* Cells::Slot::iconOf(GtkWidget* widget) {
  const auto held = icon.get();
  // It lives as long as it is in the widget.
  GtkWidget* const known = held.get();
  if (known != nullptr && gtk_widget_is_ancestor(known, widget)) return known;
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
    cell->draw({widget, icon, snapshot, textures_, *imageWrappers_});
  else
    drawHostCell(kind, widget, snapshot);
}

std::shared_ptr<Cell> Cells::cellOf(CellKind kind, GtkWidget* widget, Slot& slot) {
  const auto& uri = slot.item.uri();
  if (slot.cell && uri != slot.cell->node()->uri()) forgetCell(slot);
  if (!slot.cell && uri) {
    slot.cell = std::make_shared<Cell>(kind == CellKind::Grid ? *iconCells_ : *listCells_, kind,
                                       nodes_.make(*uri), slot.view);
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
      +[](gpointer self, GObject* gone) noexcept {
        catchAll([&] { static_cast<Cells*>(self)->gone(reinterpret_cast<GtkWidget*>(gone)); });
      },
      this);
  const auto replaced = +[](GtkWidget* changed, GParamSpec*, gpointer self) noexcept {
    catchAll([&] { static_cast<Cells*>(self)->itemReplaced(changed); });
  };
  g_signal_connect(widget, "notify::item", G_CALLBACK(replaced), this);
  // What changed while a tab was hidden.
  g_signal_connect(widget, "map", G_CALLBACK(gtk_widget_queue_draw), nullptr);
}

void Cells::forgetCell(Slot& slot) {
  if (!slot.cell) return;
  widgets_.erase(slot.cell->node().get());
  slot.cell.reset();
}

// GTK draws a widget anew only if something in it has changed: two items may have the same name and
// icon, but not the same badge.
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

void Cells::gone(GtkWidget* widget) {
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
