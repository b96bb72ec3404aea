#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Hosts/Common/BrowserWindows.h"
#include "Hosts/Common/Node.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::status {

/// A file manager's only window, as the bundle sees windows: a list of visible items that it can
/// ask to draw again. Registers the host's classes, so the runtime must not have them yet.
/// Thread-safety: main thread only.
/// Ownership: the registered methods refer to it; it must outlive the bundle's use of them.
class WatchedWindow : private hosts::WindowSource {
 public:
  /// Called with the item to draw again, from inside the bundle: draw later.
  using NeedsDisplay = std::function<void(std::size_t item)>;

  WatchedWindow(platform::Runtime& runtime, const std::vector<std::string>& paths,
                NeedsDisplay needsDisplay);

  /// The view that displays an item.
  const platform::Id& viewOf(std::size_t item) const { return views_[item]; }

 private:
  std::vector<std::int64_t> windows() const override { return {1}; }
  std::vector<hosts::VisibleCell> visibleCells(std::int64_t /*window*/) const override {
    return cells_;
  }
  platform::Id visibleCell(const TFENode& node, std::int64_t window) const override;
  std::vector<platform::Id> sidebars(std::int64_t /*window*/) const override { return {}; }
  void redraw(std::int64_t window) override;

  const NeedsDisplay needsDisplay_;
  const std::shared_ptr<platform::Class> viewClass_;
  hosts::Nodes nodes_;
  std::vector<hosts::VisibleCell> cells_;
  std::vector<platform::Id> views_;
  std::unordered_map<const void*, std::size_t> items_;  ///< by their node references
  hosts::BrowserWindows browserWindows_;
};

}  // namespace wevora::status
