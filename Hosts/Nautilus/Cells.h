#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Hosts/Nautilus/Cell.h"
#include "Hosts/Nautilus/HostWidgets.h"
#include "Hosts/Nautilus/Node.h"

namespace wevora::nautilus {

/// The cells of the widgets that the host has drawn.
/// Threads: the main thread. Owns: a cell for each widget, until the widget shows another item or
/// goes. Errors: a widget without an item is drawn by the host alone.
class Cells {
 public:
  Cells(platform::Runtime& runtime, Nodes& nodes, platform::Class& views);
  Cells(const Cells&) = delete;
  Cells& operator=(const Cells&) = delete;

  void draw(CellKind kind, GtkWidget* widget, GtkSnapshot* snapshot);
  /// Those that a person may see now.
  std::vector<std::shared_ptr<Cell>> visibleIn(GtkWidget* window) const;
  /// Draws all cells of a window again; GTK keeps what a widget drew until that very widget is told
  /// to draw.
  void redrawAllIn(GtkWidget* window) const;

 private:
  std::shared_ptr<Cell> cellOf(CellKind kind, GtkWidget* widget);
  std::shared_ptr<Cell>& slotOf(GtkWidget* widget);
  void forget(GtkWidget* widget);

  Nodes& nodes_;
  platform::Class& views_;
  std::shared_ptr<platform::Class> iconCells_;
  std::shared_ptr<platform::Class> listCells_;
  std::shared_ptr<platform::Class> imageWrappers_;
  Textures textures_;
  std::unordered_map<GtkWidget*, std::shared_ptr<Cell>> cells_;
};

}  // namespace wevora::nautilus
