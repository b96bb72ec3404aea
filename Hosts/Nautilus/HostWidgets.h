#pragma once

#include <functional>
#include <gtk/gtk.h>

namespace wevora::nautilus {

/// The views of the host whose cells show an icon.
enum class CellKind { Grid, List };

/// Receives the notifications about the host's widgets.
class WidgetObserver {
 public:
  WidgetObserver() = default;
  virtual ~WidgetObserver() = default;
  WidgetObserver(const WidgetObserver&) = delete;
  WidgetObserver& operator=(const WidgetObserver&) = delete;

  /// Replaces the drawing of a cell; `drawHostCell` is the host's own drawing.
  virtual void drawCell(CellKind kind, GtkWidget* cell, GtkSnapshot* snapshot) = 0;
  virtual void sidebarRealized(GtkWidget* sidebar) = 0;
  virtual void sidebarRowRealized(GtkWidget* row) = 0;
};

/// Starts to observe the process's widgets, for the lifetime of the process. Nautilus registers its
/// widget classes on demand, so the classes are found when their first widget is realized; from
/// then on the observer draws the cells. Thread-safety: main thread only. Ownership: the observer
/// must never be destroyed.
void observeWidgets(WidgetObserver& observer);

/// Calls the original snapshot function of the cell's class.
void drawHostCell(CellKind kind, GtkWidget* cell, GtkSnapshot* snapshot);

/// The descendant of a cell that shows the item's icon; null if there is none.
GtkWidget* iconOf(GtkWidget* cell);

}  // namespace wevora::nautilus
