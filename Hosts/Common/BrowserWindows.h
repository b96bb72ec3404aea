#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Hosts/Common/Node.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// An item that is visible in a window, and the cell that draws it.
struct VisibleCell {
  std::shared_ptr<Node> node;
  platform::Id cell;
};

/// A host's windows. Each has a unique number, which is never reused.
/// Thread-safety: main thread only.
/// Errors: a closed window has no cells and no sidebars; redrawing it does nothing.
class WindowSource {
 public:
  virtual ~WindowSource() = default;

  /// The open windows, in the order in which they were opened.
  virtual std::vector<std::int64_t> windows() const = 0;
  virtual std::vector<VisibleCell> visibleCells(std::int64_t window) const = 0;
  /// The visible cell of a node; null if there is none.
  virtual platform::Id visibleCell(const TFENode& node, std::int64_t window) const;
  virtual std::vector<platform::Id> sidebars(std::int64_t window) const = 0;
  virtual void redraw(std::int64_t window) = 0;
};

/// Registers the classes by which the bundle traverses a host's windows in order to redraw cells:
/// "NSApplication", "NSWindow", "TBrowserWindowController" and "TBrowserViewController".
/// Thread-safety: main thread only.
/// Ownership: the source must outlive it.
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
