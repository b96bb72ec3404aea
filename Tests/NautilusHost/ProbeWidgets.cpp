#include "Tests/NautilusHost/ProbeWidgets.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <nautilus-extension.h>

#include "Hosts/Nautilus/ObjectProperties.h"

namespace wevora::testing_host {

using nautilus::GObjectPtr;
using nautilus::GText;
using nautilus::objectProperty;

bool isOf(GtkWidget* widget, std::initializer_list<const char*> classes) {
  const char* name = G_OBJECT_TYPE_NAME(widget);
  return std::any_of(classes.begin(), classes.end(),
                     [name](const char* wanted) { return std::strcmp(name, wanted) == 0; });
}

void forEachBelow(GtkWidget* widget, const std::function<void(GtkWidget*)>& function) {
  function(widget);
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
       child = gtk_widget_get_next_sibling(child))
    if (gtk_widget_get_mapped(child)) forEachBelow(child, function);
}

std::vector<GtkWidget*> hostWindows() {
  std::vector<GtkWidget*> windows;
  GListModel* all = gtk_window_get_toplevels();
  for (guint i = 0; i < g_list_model_get_n_items(all); ++i) {
    const GObjectPtr<GtkWidget> window(static_cast<GtkWidget*>(g_list_model_get_item(all, i)));
    if (isOf(window.get(), {"NautilusWindow"})) windows.push_back(window.get());
  }
  return windows;
}

GtkWidget* windowOf(guint number) {
  const auto windows = hostWindows();
  return number < windows.size() ? windows[number] : nullptr;
}

std::optional<graphene_rect_t> frameIn(GtkWidget* window, GtkWidget* widget) {
  graphene_rect_t frame;
  graphene_rect_t whole;
  if (!gtk_widget_compute_bounds(widget, window, &frame) ||
      !gtk_widget_compute_bounds(window, window, &whole))
    return std::nullopt;
  for (GtkWidget* around = widget; around != window; around = gtk_widget_get_parent(around)) {
    graphene_rect_t part;
    if (gtk_widget_get_overflow(around) == GTK_OVERFLOW_HIDDEN &&
        (!gtk_widget_compute_bounds(around, window, &part) ||
         !graphene_rect_contains_rect(&part, &frame)))
      return std::nullopt;
  }
  graphene_rect_offset(&frame, -whole.origin.x, -whole.origin.y);
  return frame;
}

GtkWidget* pictureOf(GtkWidget* cell) {
  GtkWidget* found = nullptr;
  forEachBelow(cell, [&](GtkWidget* widget) {
    if (found == nullptr && (GTK_IS_PICTURE(widget) || GTK_IS_IMAGE(widget))) found = widget;
  });
  return found;
}

std::vector<VisibleCell> visibleCells(GtkWidget* window) {
  std::vector<VisibleCell> cells;
  forEachBelow(window, [&](GtkWidget* widget) {
    if (!isOf(widget, {"NautilusGridCell", "NautilusNameCell"})) return;
    const auto item = objectProperty(widget, "item");
    const auto file = objectProperty(item.get(), "file");
    GtkWidget* picture = pictureOf(widget);
    if (!file || picture == nullptr) return;
    const auto frame = frameIn(window, picture);
    const GText uri(nautilus_file_info_get_uri(NAUTILUS_FILE_INFO(file.get())));
    if (frame && uri) cells.push_back({widget, uri.get(), *frame});
  });
  return cells;
}

GtkAdjustment* adjustmentOf(GtkWidget* window) {
  GtkAdjustment* found = nullptr;
  forEachBelow(window, [&](GtkWidget* widget) {
    if (GTK_IS_GRID_VIEW(widget) || GTK_IS_COLUMN_VIEW(widget))
      found = gtk_scrollable_get_vadjustment(GTK_SCROLLABLE(widget));
  });
  return found;
}

void scrollTo(GtkWidget* window, double part) {
  GtkAdjustment* adjustment = adjustmentOf(window);
  if (adjustment == nullptr) return;
  const double range =
      gtk_adjustment_get_upper(adjustment) - gtk_adjustment_get_page_size(adjustment);
  gtk_adjustment_set_value(adjustment, std::round(std::max(0.0, range) * part));
}

}  // namespace wevora::testing_host
