#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Hosts/PCManFMQt/ItemView.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::pcmanfmqt {

/// "TDesktopViewController": the desktop, which the bundle reloads. The shared controller exists
/// while the host shows a desktop; the desktops of all screens have one controller.
/// Thread-safety: main thread only.
class Desktop {
 public:
  using ViewsOfDesktop = std::function<std::vector<ItemView*>()>;

  Desktop(platform::Runtime& runtime, platform::Class& views, ViewsOfDesktop viewsOfDesktop);
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

 private:
  platform::Id view() const;
  /// Discards all cells, so that they are recreated when they are drawn next.
  void reloadData() const;
  std::vector<platform::Id> nodes() const;
  void updateNodes(const std::vector<platform::Id>& nodes) const;

  platform::Class& views_;
  const ViewsOfDesktop viewsOfDesktop_;
  std::shared_ptr<platform::Class> controllers_;
};

}  // namespace wevora::pcmanfmqt
