#pragma once

#include <functional>
#include <gtk/gtk.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace wevora::testing_host {

// Finds the file manager's widgets for the probe.

bool isOf(GtkWidget* widget, std::initializer_list<const char*> classes);
/// Calls the function for each mapped widget, parents first.
void forEachBelow(GtkWidget* widget, const std::function<void(GtkWidget*)>& function);
/// In the order in which they were opened.
std::vector<GtkWidget*> hostWindows();
/// Null when there are fewer windows.
GtkWidget* windowOf(guint number);
/// In the window's picture; nullopt for a widget that a scrolled view clips.
std::optional<graphene_rect_t> frameIn(GtkWidget* window, GtkWidget* widget);
GtkWidget* pictureOf(GtkWidget* cell);

struct VisibleCell {
  GtkWidget* widget;
  std::string uri;
  graphene_rect_t frame;  ///< of its icon, in the window's picture
};
/// Those whose icons are completely visible.
std::vector<VisibleCell> visibleCells(GtkWidget* window);

/// The vertical adjustment of the window's view of items; null without a view.
GtkAdjustment* adjustmentOf(GtkWidget* window);
/// From 0, the top, to 1.
void scrollTo(GtkWidget* window, double part);

}  // namespace wevora::testing_host
