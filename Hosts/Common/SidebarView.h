#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Hosts/Common/View.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// "TSidebarView": a sidebar of the host, with its delegate.
/// Ownership: also owns the host's own delegate, because a proxy that replaces the delegate holds
/// the original only weakly.
class SidebarView : public View {
 public:
  using View::View;
  platform::Id delegate;
  platform::Id hostDelegate;
};

/// "TSidebarItemCell": a row of a sidebar. It is passed to the delegate both as cell and as item.
/// Thread-safety: main thread only.
/// Errors: has no effect after the host's row was destroyed.
class SidebarRow : public platform::Object {
 public:
  using Object::Object;
  /// nullopt for a row without a name.
  // -name
  virtual std::optional<std::string> name() const = 0;
  // -setImage:
  virtual void setImage(const platform::Image& image) = 0;
};

/// Registers the classes of sidebars. The delegate is notified of each row before the row is shown;
/// the bundle replaces the row's image then.
/// Thread-safety: main thread only.
class SidebarClasses {
 public:
  SidebarClasses(platform::Runtime& runtime, platform::Class& views);
  SidebarClasses(const SidebarClasses&) = delete;
  SidebarClasses& operator=(const SidebarClasses&) = delete;

  /// A sidebar with a delegate of the host.
  std::shared_ptr<SidebarView> make(View::Redraw redraw) const;
  platform::Class& rows() const noexcept { return *rows_; }
  /// Notifies the sidebar's delegate that the host is about to show the row.
  static void willDisplay(const std::shared_ptr<SidebarView>& sidebar,
                          const std::shared_ptr<SidebarRow>& row);

 private:
  void registerImages(platform::Runtime& runtime);

  std::shared_ptr<platform::Class> sidebars_;
  std::shared_ptr<platform::Class> delegates_;
  std::shared_ptr<platform::Class> rows_;
  std::shared_ptr<platform::Class> images_;
};

}  // namespace wevora::hosts
