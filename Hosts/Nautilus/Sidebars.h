#pragma once

#include <gtk/gtk.h>
#include <memory>
#include <unordered_map>
#include <vector>

#include "Hosts/Common/FeedbackGuard.h"
#include "Hosts/Common/SidebarView.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// The host's sidebars. Redrawing a sidebar presents its rows to the delegate again.
/// Thread-safety: main thread only.
/// Ownership: a view for each sidebar widget, as long as the widget lives.
/// Errors: a row without the expected properties is left unchanged.
class Sidebars {
 public:
  Sidebars(platform::Runtime& runtime, platform::Class& views) : classes_(runtime, views) {}
  Sidebars(const Sidebars&) = delete;
  Sidebars& operator=(const Sidebars&) = delete;

  void sidebarRealized(GtkWidget* sidebar);
  void rowRealized(GtkWidget* row);
  /// A property of the row has changed: presents it again, unless the change is our own.
  void rowChanged(GtkWidget* row);
  std::vector<platform::Id> sidebarsOf(GtkWidget* window) const;

 private:
  std::shared_ptr<hosts::SidebarView> sidebarAround(GtkWidget* row) const;
  void presentRow(GtkWidget* row);
  void presentRowsBelow(GtkWidget* widget);

  const hosts::SidebarClasses classes_;
  std::unordered_map<GtkWidget*, std::shared_ptr<hosts::SidebarView>> views_;
  bool presenting_ = false;
};

}  // namespace wevora::nautilus
