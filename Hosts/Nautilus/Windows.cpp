#include "Hosts/Nautilus/Windows.h"

#include <gtk/gtk.h>

#include "Hosts/Nautilus/HostClasses.h"
#include "Hosts/Nautilus/ObjectProperties.h"

namespace wevora::nautilus {
namespace {

using platform::Id;

/// In the order in which they were opened.
std::vector<GtkWidget*> hostWindows() {
  std::vector<GtkWidget*> windows;
  GListModel* all = gtk_window_get_toplevels();
  for (guint i = 0; i < g_list_model_get_n_items(all); ++i) {
    const GObjectPtr<GtkWidget> window(static_cast<GtkWidget*>(g_list_model_get_item(all, i)));
    if (roleOf(G_OBJECT_TYPE_NAME(window.get())) == Role::Window) windows.push_back(window.get());
  }
  return windows;
}

/// The window's number, assigned at the first call.
std::int64_t numberOf(GtkWidget* window) {
  static constexpr const char* kKey = "wevora-window-number";
  static gint latest = 0;
  gpointer number = g_object_get_data(G_OBJECT(window), kKey);
  if (number == nullptr) {
    number = GINT_TO_POINTER(++latest);
    g_object_set_data(G_OBJECT(window), kKey, number);
  }
  return GPOINTER_TO_INT(number);
}

/// Null if the window is closed.
GtkWidget* windowNumbered(std::int64_t number) {
  for (GtkWidget* window : hostWindows())
    if (numberOf(window) == number) return window;
  return nullptr;
}

}  // namespace

std::vector<std::int64_t> Windows::windows() const {
  std::vector<std::int64_t> numbers;
  for (GtkWidget* window : hostWindows()) numbers.push_back(numberOf(window));
  return numbers;
}

std::vector<hosts::VisibleCell> Windows::visibleCells(std::int64_t window) const {
  std::vector<hosts::VisibleCell> visible;
  if (GtkWidget* shown = windowNumbered(window))
    for (const auto& cell : cells_.visibleIn(shown)) visible.push_back({cell->node(), cell});
  return visible;
}

Id Windows::visibleCell(const TFENode& node, std::int64_t window) const {
  GtkWidget* shown = windowNumbered(window);
  return shown == nullptr ? nullptr : Id(cells_.visibleCellOf(node, shown));
}

std::vector<Id> Windows::sidebars(std::int64_t window) const {
  GtkWidget* shown = windowNumbered(window);
  return shown == nullptr ? std::vector<Id>() : sidebars_.sidebarsOf(shown);
}

void Windows::redraw(std::int64_t window) {
  if (GtkWidget* shown = windowNumbered(window)) cells_.redrawAllIn(shown);
}

}  // namespace wevora::nautilus
