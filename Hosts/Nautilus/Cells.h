#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Hosts/Common/CellClasses.h"
#include "Hosts/Common/Node.h"
#include "Hosts/Common/View.h"
#include "Hosts/Nautilus/Cell.h"
#include "Hosts/Nautilus/HostWidgets.h"
#include "Hosts/Nautilus/ShownItem.h"

namespace wevora::nautilus {

/// The cells of the host's cell widgets. A widget's view lives as long as the widget, its cell
/// until the widget shows another item or the item is renamed. Thread-safety: main thread only.
/// Errors: a widget without an item is drawn by the host alone.
class Cells {
 public:
  Cells(platform::Runtime& runtime, hosts::Nodes& nodes, platform::Class& views);
  Cells(const Cells&) = delete;
  Cells& operator=(const Cells&) = delete;

  void draw(CellKind kind, GtkWidget* widget, GtkSnapshot* snapshot);
  /// The cells of the window's mapped widgets.
  std::vector<std::shared_ptr<Cell>> visibleIn(GtkWidget* window) const;
  /// The visible cell of a node; null if there is none.
  std::shared_ptr<Cell> visibleCellOf(const TFENode& node, GtkWidget* window) const;
  /// Queues a redraw of every visible cell widget of a window. Redrawing the window is not enough,
  /// because GTK caches the render node of each widget.
  void redrawAllIn(GtkWidget* window) const;

 private:
  /// The state of one widget.
  struct Slot {
    Slot(Cells& cells, GtkWidget* widget);
    GtkWidget* iconOf(GtkWidget* widget);

    const std::shared_ptr<hosts::View> view;
    ShownItem item;
    GWeak<GtkWidget> icon{nullptr};
    std::shared_ptr<Cell> cell;
  };
  Slot& slotOf(GtkWidget* widget);
  void watch(GtkWidget* widget);
  std::shared_ptr<Cell> cellOf(CellKind kind, GtkWidget* widget, Slot& slot);
  void forgetCell(Slot& slot);
  void itemReplaced(GtkWidget* widget);
  void itemMoved(GtkWidget* widget);
  void widgetDestroyed(GtkWidget* widget);

  hosts::Nodes& nodes_;
  platform::Class& views_;
  const hosts::CellClasses classes_;
  TextureCache textures_;
  std::unordered_map<GtkWidget*, Slot> slots_;
  std::unordered_map<const void*, GtkWidget*> widgets_;  // by the node of their cell
};

}  // namespace wevora::nautilus
