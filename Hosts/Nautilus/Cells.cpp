#include "Hosts/Nautilus/Cells.h"

#include <nautilus-extension.h>

#include "Platform/Support/Guard.h"

namespace wevora::nautilus {
namespace {

using platform::Class;
using platform::Id;
using platform::ImageRef;
using platform::Implementation;
using platform::Rect;
using platform::swallowing;

Cell& asCell(const Id& self) {
  return static_cast<Cell&>(*self);
}

std::shared_ptr<Class> registerCells(platform::Runtime& runtime, const char* name) {
  auto cells = runtime.registerClass(name);
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

/// None for a widget that shows nothing at present.
std::optional<std::string> itemUriOf(GtkWidget* widget) {
  const auto item = objectProperty(widget, "item");
  const auto file = objectProperty(item.get(), "file");
  if (!file || !NAUTILUS_IS_FILE_INFO(file.get())) return std::nullopt;
  const GText uri(nautilus_file_info_get_uri(NAUTILUS_FILE_INFO(file.get())));
  return uri ? std::optional<std::string>(uri.get()) : std::nullopt;
}

}  // namespace

Cells::Cells(platform::Runtime& runtime, Nodes& nodes, Class& views)
    : nodes_(nodes),
      views_(views),
      iconCells_(registerCells(runtime, "IKIconCell")),
      listCells_(registerCells(runtime, "TListViewIconAndTextCell")),
      imageWrappers_(ImageWrapper::registerIn(runtime)) {
  addGridDrawing(*iconCells_);
  addListDrawing(*listCells_);
}

void Cells::draw(CellKind kind, GtkWidget* widget, GtkSnapshot* snapshot) {
  const auto cell =
      platform::swallowingOr(std::shared_ptr<Cell>(), [&] { return cellOf(kind, widget); });
  if (cell)
    cell->draw({widget, snapshot, textures_, *imageWrappers_});
  else
    drawHostCell(kind, widget, snapshot);
}

std::shared_ptr<Cell> Cells::cellOf(CellKind kind, GtkWidget* widget) {
  const auto uri = itemUriOf(widget);
  auto& cell = slotOf(widget);
  // A widget's item may be renamed without being replaced.
  if (cell && uri != cell->node()->uri()) {
    cell->view()->forgetWidget();
    cell.reset();
  }
  if (!cell && uri)
    cell = std::make_shared<Cell>(kind == CellKind::Grid ? *iconCells_ : *listCells_, kind,
                                  nodes_.make(*uri), std::make_shared<View>(views_, widget));
  return cell;
}

std::shared_ptr<Cell>& Cells::slotOf(GtkWidget* widget) {
  const auto [place, isNew] = cells_.try_emplace(widget);
  if (isNew) {
    g_object_weak_ref(
        G_OBJECT(widget),
        [](gpointer self, GObject* gone) {
          static_cast<Cells*>(self)->cells_.erase(reinterpret_cast<GtkWidget*>(gone));
        },
        this);
    g_signal_connect(widget, "notify::item",
                     G_CALLBACK(+[](GtkWidget* changed, GParamSpec*, gpointer self) noexcept {
                       swallowing([&] { static_cast<Cells*>(self)->forget(changed); });
                     }),
                     this);
    // What changed while a tab was hidden.
    g_signal_connect(widget, "map", G_CALLBACK(gtk_widget_queue_draw), nullptr);
  }
  return place->second;
}

void Cells::forget(GtkWidget* widget) {
  const auto found = cells_.find(widget);
  if (found == cells_.end() || !found->second) return;
  found->second->view()->forgetWidget();
  found->second.reset();
}

std::vector<std::shared_ptr<Cell>> Cells::visibleIn(GtkWidget* window) const {
  std::vector<std::shared_ptr<Cell>> visible;
  for (const auto& [widget, cell] : cells_)
    if (cell && gtk_widget_get_mapped(widget) && GTK_WIDGET(gtk_widget_get_root(widget)) == window)
      visible.push_back(cell);
  return visible;
}

void Cells::redrawAllIn(GtkWidget* window) const {
  for (const auto& cell : visibleIn(window)) cell->view()->setNeedsDisplay(true);
}

}  // namespace wevora::nautilus
