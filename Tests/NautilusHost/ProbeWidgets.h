#pragma once

#include <functional>
#include <gtk/gtk.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace wevora::testing_host {

// The file manager's widgets, as the probe finds them.

bool isOf(GtkWidget* widget, std::initializer_list<const char*> classes);
/// Calls for each widget that is on the screen, parents first.
void forEachBelow(GtkWidget* widget, const std::function<void(GtkWidget*)>& function);
/// In the order in which they were opened.
std::vector<GtkWidget*> hostWindows();
/// Null where there are fewer.
GtkWidget* windowOf(guint number);
/// In the window's picture; none for what a view that scrolls cuts off.
std::optional<graphene_rect_t> frameIn(GtkWidget* window, GtkWidget* widget);
GtkWidget* pictureOf(GtkWidget* cell);

struct VisibleCell {
  GtkWidget* widget;
  std::string uri;
  graphene_rect_t frame;  ///< of its icon, in the window's picture
};
/// Those whose icons are wholly to be seen.
std::vector<VisibleCell> visibleCells(GtkWidget* window);

/// Of the view of the window's items; null where there is none.
GtkAdjustment* adjustmentOf(GtkWidget* window);
/// From 0, the top, to 1.
void scrollTo(GtkWidget* window, double part);

}  // namespace wevora::testing_host
