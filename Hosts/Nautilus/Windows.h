#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "Hosts/Nautilus/Cells.h"
#include "Hosts/Nautilus/View.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// The host's windows as the bundle walks them: from "NSApplication" and "NSWindow" by way of
/// "TBrowserWindowController" to the cells that are to be drawn again.
/// Threads: the main thread. Owns: nothing of the host. Errors: of a window that has gone, nothing
/// is answered.
class Windows {
 public:
  /// Answers a window's sidebar views.
  using SidebarsOf = std::function<std::vector<platform::Id>(GtkWidget* window)>;

  Windows(platform::Runtime& runtime, const Cells& cells, platform::Class& views,
          SidebarsOf sidebarsOf);
  Windows(const Windows&) = delete;
  Windows& operator=(const Windows&) = delete;

 private:
  void registerWindows(platform::Runtime& runtime);
  void registerControllers(platform::Runtime& runtime);
  void registerBrowsers(platform::Runtime& runtime);
  platform::Id controllerOf(GtkWidget* window) const;
  platform::Id browserViewOf(GtkWidget* window) const;
  platform::Id containerOf(std::vector<platform::Id> subviews) const;

  const Cells& cells_;
  platform::Class& views_;
  const SidebarsOf sidebarsOf_;
  std::shared_ptr<platform::Class> windows_;
  std::shared_ptr<platform::Class> controllers_;
  std::shared_ptr<platform::Class> browsers_;
};

}  // namespace wevora::nautilus
