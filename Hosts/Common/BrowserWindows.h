#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Hosts/Common/Node.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// An item that a person may see in a window, and what is drawn for it.
/// Threads: a value. Owns: shares. Errors: none.
struct VisibleCell {
  std::shared_ptr<Node> node;
  platform::Id cell;
};

/// What a host tells of its windows. A window has a number of its own, which is never given again.
/// Threads: the main thread. Owns: as the host. Errors: of a window that has gone nothing is told.
class WindowSource {
 public:
  virtual ~WindowSource() = default;

  /// In the order in which they were opened.
  virtual std::vector<std::int64_t> windows() const = 0;
  virtual std::vector<VisibleCell> visibleCells(std::int64_t window) const = 0;
  /// Of the visible cells the one of a node; null where none is.
  virtual platform::Id visibleCell(const TFENode& node, std::int64_t window) const;
  virtual std::vector<platform::Id> sidebars(std::int64_t window) const = 0;
  virtual void redraw(std::int64_t window) = 0;
};

/// A host's windows as the bundle walks them: from "NSApplication" and "NSWindow" by way of
/// "TBrowserWindowController" to the cells that are to be drawn again.
/// Threads: the main thread. Owns: its classes; the source outlives it. Errors: none.
class BrowserWindows {
 public:
  BrowserWindows(platform::Runtime& runtime, platform::Class& views, WindowSource& source);
  BrowserWindows(const BrowserWindows&) = delete;
  BrowserWindows& operator=(const BrowserWindows&) = delete;

 private:
  void registerWindows(platform::Runtime& runtime);
  void registerControllers(platform::Runtime& runtime);
  void registerBrowsers(platform::Runtime& runtime);
  platform::Id controllerOf(std::int64_t window) const;
  platform::Id browserViewOf(std::int64_t window) const;

  platform::Class& views_;
  WindowSource& source_;
  std::shared_ptr<platform::Class> windows_;
  std::shared_ptr<platform::Class> controllers_;
  std::shared_ptr<platform::Class> browsers_;
};

}  // namespace wevora::hosts
