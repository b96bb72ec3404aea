#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Hosts/PCManFMQt/ItemView.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::pcmanfmqt {

/// The desktop as the bundle reloads it: "TDesktopViewController". There is one as long as the host
/// shows a desktop; a desktop of several screens is one.
/// Threads: the main thread. Owns: its class. Errors: none.
class Desktop {
 public:
  using ViewsOfDesktop = std::function<std::vector<ItemView*>()>;

  Desktop(platform::Runtime& runtime, platform::Class& views, ViewsOfDesktop viewsOfDesktop);
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

 private:
  platform::Id view() const;
  /// Every icon is made anew when it is drawn next.
  void reloadData() const;
  std::vector<platform::Id> nodes() const;
  void updateNodes(const std::vector<platform::Id>& nodes) const;

  platform::Class& views_;
  const ViewsOfDesktop viewsOfDesktop_;
  std::shared_ptr<platform::Class> controllers_;
};

}  // namespace wevora::pcmanfmqt
