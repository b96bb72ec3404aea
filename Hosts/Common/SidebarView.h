#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Hosts/Common/View.h"
#include "Platform/Graphics/Image.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora::hosts {

/// A host's sidebar: "TSidebarView", with a delegate of the host.
/// Threads, Errors: as View. Owns: its delegate, and what the host made its delegate: a proxy
/// before that does not keep it.
class SidebarView : public View {
 public:
  using View::View;
  platform::Id delegate;
  platform::Id ofTheHost;
};

/// A row of a sidebar, as both the cell and the item that the delegate is told of.
/// Threads: the main thread. Owns: as its kind. Errors: does nothing once the row has gone.
class SidebarRow : public platform::Object {
 public:
  using Object::Object;
  /// None for a row without one.
  // -name
  virtual std::optional<std::string> name() const = 0;
  // -setImage:
  virtual void setImage(const platform::Image& image) = 0;
};

/// The classes of a sidebar. The delegate is told of each row before it is seen, which is when the
/// bundle may give the row another image.
/// Threads: the main thread. Owns: its classes. Errors: none.
class SidebarClasses {
 public:
  SidebarClasses(platform::Runtime& runtime, platform::Class& views);
  SidebarClasses(const SidebarClasses&) = delete;
  SidebarClasses& operator=(const SidebarClasses&) = delete;

  /// With its delegate.
  std::shared_ptr<SidebarView> make(View::Redraw redraw) const;
  platform::Class& rows() const noexcept { return *rows_; }
  /// The host has prepared the row.
  static void willDisplay(const std::shared_ptr<SidebarView>& sidebar,
                          const std::shared_ptr<SidebarRow>& row);

 private:
  void registerPictures(platform::Runtime& runtime);

  std::shared_ptr<platform::Class> sidebars_;
  std::shared_ptr<platform::Class> delegates_;
  std::shared_ptr<platform::Class> rows_;
  std::shared_ptr<platform::Class> pictures_;
};

}  // namespace wevora::hosts
