#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "Hosts/Nautilus/View.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// The host's sidebars: a "TSidebarView" for each, with a delegate of the host. The delegate is
/// told of each row before it is seen, which is when the bundle may give the row another image.
/// Threads: the main thread. Owns: a view for each sidebar widget, as long as that lives.
/// Errors: a row of an unknown make stays as it is.
class Sidebars {
 public:
  Sidebars(platform::Runtime& runtime, platform::Class& views);
  Sidebars(const Sidebars&) = delete;
  Sidebars& operator=(const Sidebars&) = delete;

  void sidebarRealized(GtkWidget* sidebar);
  void rowRealized(GtkWidget* row);
  std::vector<platform::Id> sidebarsOf(GtkWidget* window) const;

 private:
  class Sidebar;
  class Row;
  class Picture;
  void registerViews(platform::Runtime& runtime, platform::Class& views);
  void registerRows(platform::Runtime& runtime);
  platform::Id sidebarAround(GtkWidget* row) const;
  void presentRow(GtkWidget* row);
  void presentRowsBelow(GtkWidget* widget);

  std::shared_ptr<platform::Class> sidebars_;
  std::shared_ptr<platform::Class> delegates_;
  std::shared_ptr<platform::Class> rows_;
  std::shared_ptr<platform::Class> pictures_;
  std::unordered_map<GtkWidget*, std::shared_ptr<Sidebar>> views_;
  bool presenting_ = false;
};

}  // namespace wevora::nautilus
