#pragma once

#include <functional>
#include <gtk/gtk.h>

namespace wevora::nautilus {

/// The views of the host whose cells show an icon.
enum class CellKind { Grid, List };

/// What is told of the host's widgets.
class WidgetObserver {
 public:
  WidgetObserver() = default;
  virtual ~WidgetObserver() = default;
  WidgetObserver(const WidgetObserver&) = delete;
  WidgetObserver& operator=(const WidgetObserver&) = delete;

  /// Stands in for the drawing of a cell; `drawHostCell` is the host's own.
  virtual void drawCell(CellKind kind, GtkWidget* cell, GtkSnapshot* snapshot) = 0;
  virtual void sidebarRealized(GtkWidget* sidebar) = 0;
  virtual void sidebarRowRealized(GtkWidget* row) = 0;
};

/// Begins to watch the process's widgets: as soon as one of a class that the host registers late is
/// realized, its drawing goes through the observer. The observer is never let go.
/// Threads: the main thread. Errors: a class that never appears is never told of.
void observeWidgets(WidgetObserver& observer);

/// The drawing that the cell's class had before.
void drawHostCell(CellKind kind, GtkWidget* cell, GtkSnapshot* snapshot);

/// The widget inside a cell that shows the item's icon; null where there is none.
GtkWidget* iconOf(GtkWidget* cell);

}  // namespace wevora::nautilus
