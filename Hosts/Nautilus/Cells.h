#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Hosts/Common/Node.h"
#include "Hosts/Common/View.h"
#include "Hosts/Nautilus/Cell.h"
#include "Hosts/Nautilus/HostWidgets.h"
#include "Hosts/Nautilus/ShownItem.h"

namespace wevora::nautilus {

/// The cells of the widgets that the host has drawn.
/// Threads: the main thread. Owns: for each widget a view, as long as it lives, and a cell, until
/// it shows another item. Errors: a widget without an item is drawn by the host alone.
class Cells {
 public:
  Cells(platform::Runtime& runtime, hosts::Nodes& nodes, platform::Class& views);
  Cells(const Cells&) = delete;
  Cells& operator=(const Cells&) = delete;

  void draw(CellKind kind, GtkWidget* widget, GtkSnapshot* snapshot);
  /// Those that a person may see now.
  std::vector<std::shared_ptr<Cell>> visibleIn(GtkWidget* window) const;
  /// Of these the one that shows a node; null where none does.
  std::shared_ptr<Cell> visibleCellOf(const TFENode& node, GtkWidget* window) const;
  /// Draws all cells of a window again; GTK keeps what a widget drew until that very widget is told
  /// to draw.
  void redrawAllIn(GtkWidget* window) const;

 private:
  /// What is known of one widget.
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
  void gone(GtkWidget* widget);

  hosts::Nodes& nodes_;
  platform::Class& views_;
  std::shared_ptr<platform::Class> iconCells_;
  std::shared_ptr<platform::Class> listCells_;
  std::shared_ptr<platform::Class> imageWrappers_;
  TextureCache textures_;
  std::unordered_map<GtkWidget*, Slot> slots_;
  std::unordered_map<const void*, GtkWidget*> widgets_;  // by the node that each shows
};

}  // namespace wevora::nautilus
