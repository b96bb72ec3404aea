#pragma once

#include <cstdint>
#include <vector>

#include "Hosts/Common/BrowserWindows.h"
#include "Hosts/Nautilus/Cells.h"
#include "Hosts/Nautilus/Sidebars.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::nautilus {

/// Nautilus's windows.
/// Ownership: cells and sidebars must outlive it.
class Windows : public hosts::WindowSource {
 public:
  Windows(const Cells& cells, const Sidebars& sidebars) : cells_(cells), sidebars_(sidebars) {}

  std::vector<std::int64_t> windows() const override;
  std::vector<hosts::VisibleCell> visibleCells(std::int64_t window) const override;
  platform::Id visibleCell(const TFENode& node, std::int64_t window) const override;
  std::vector<platform::Id> sidebars(std::int64_t window) const override;
  void redraw(std::int64_t window) override;

 private:
  const Cells& cells_;
  const Sidebars& sidebars_;
};

}  // namespace wevora::nautilus
