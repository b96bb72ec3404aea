#pragma once

#include <algorithm>
#include <array>

#include "Hosts/Common/BrowserWindows.h"
#include "Hosts/Common/Node.h"
#include "Hosts/Common/View.h"
#include "Hosts/Nautilus/Cells.h"
#include "Hosts/Nautilus/HostWidgets.h"
#include "Hosts/Nautilus/Sidebars.h"
#include "Hosts/Nautilus/Windows.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// Presents Nautilus to the bundle: registers the classes that the bundle looks up, and maps them
/// to the widgets. Lives as long as the process. Thread-safety: main thread only.
class Host : public WidgetObserver {
 public:
  /// The names of the registered classes.
  static constexpr std::array kClasses{"NSView",
                                       "FINode",
                                       "IKIconCell",
                                       "TListViewIconAndTextCell",
                                       "IKImageWrapper",
                                       "TSidebarView",
                                       "TSidebarViewController",
                                       "TSidebarItemCell",
                                       "NSSidebarImage",
                                       "NSApplication",
                                       "NSWindow",
                                       "NSWindowController",
                                       "TBrowserWindowController",
                                       "TBrowserViewController"};
  /// False if another host in the process has registered one of the names.
  static bool canRegisterIn(const platform::Runtime& runtime) {
    return std::ranges::none_of(
        kClasses, [&](const char* name) { return runtime.classNamed(name) != nullptr; });
  }

  /// Throws HostException unless `canRegisterIn(runtime)`.
  explicit Host(platform::Runtime& runtime)
      : views_(hosts::View::registerIn(runtime)),
        nodes_(runtime),
        cells_(runtime, nodes_, *views_),
        sidebars_(runtime, *views_),
        windows_(cells_, sidebars_),
        browserWindows_(runtime, *views_, windows_) {}

  void drawCell(CellKind kind, GtkWidget* cell, GtkSnapshot* snapshot) override {
    cells_.draw(kind, cell, snapshot);
  }
  void sidebarRealized(GtkWidget* sidebar) override { sidebars_.sidebarRealized(sidebar); }
  void sidebarRowRealized(GtkWidget* row) override { sidebars_.rowRealized(row); }

 private:
  const std::shared_ptr<platform::Class> views_;
  hosts::Nodes nodes_;
  Cells cells_;
  Sidebars sidebars_;
  Windows windows_;
  hosts::BrowserWindows browserWindows_;
};

}  // namespace wevora::nautilus
