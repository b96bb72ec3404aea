#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "FinderIntegration/finder_bundle/HostInterface.h"
#include "Platform/Graphics/BitmapContext.h"
#include "Tests/Doubles/Layer.h"
#include "Tests/RecordingHost/RecordingHost.h"

namespace wevora::testing_host {

using platform::BitmapRef;

/// A cell of an icon view, reflective or not.
class IconCell : public Object {
 public:
  using Object::Object;
  Id representedItem;
  ImageRef icon;
  std::vector<BitmapRef> drawn;  ///< each time, the icon as it came out on one pixel a point,
                                 ///< or null where there was none to draw
  std::vector<std::pair<Rect, Id>> frames;  ///< what drawInteriorWithFrame:inView: was given
  int reflections = 0;
};

/// A cell of a list or of columns.
class ListCell : public Object {
 public:
  using Object::Object;
  TFENode node;
  Id view;
  ImageRef thumbnail;
  std::vector<std::string> calls;  ///< of the host's own code
};

/// An icon of the desktop, with its layers.
class DesktopIcon : public Object {
 public:
  using Object::Object;
  std::shared_ptr<platform::Layer> icon;
  std::shared_ptr<platform::Layer> title;
  int redraws = 0;
  int drawnByHost = 0;
};

/// What a sidebar's row looked like when it was drawn.
struct SidebarRow {
  ImageRef picture;
  double height = 0;
};

/// A sidebar, whose delegate it does not keep.
class Sidebar : public View {
 public:
  using View::View;
  std::vector<Id> items;
  std::weak_ptr<Object> delegate;
  std::vector<bool> delegatesSet;  ///< each time, whether there was one
};

/// A delegate of a sidebar, as the host has it.
class SidebarDelegate : public Object {
 public:
  using Object::Object;
  std::vector<std::string> calls;
};

/// A cell of a sidebar: notes what it is given.
class SidebarCell : public Object {
 public:
  using Object::Object;
  std::vector<Id> images;
};

/// An image wrapped for icon views or sidebars.
class ImageWrapper : public Object {
 public:
  using Object::Object;
  ImageRef image;
};

/// A host that really draws, into images in memory, with cells of all kinds. Its own drawing is
/// gray, so that every other colour is a badge's.
/// Threads: one. Owns: its recording part, and its classes. Errors: as RecordingHost.
class PictureHost {
 public:
  /// Which classes the host has; tests leave some out.
  struct Classes {
    bool iconCells = true;
    bool reflectiveCells = true;
    bool listCells = true;
    bool columnCells = true;
    bool desktopIcons = true;
    bool desktop = true;
    bool sidebars = true;
    bool wrappers = true;
    bool sidebarImages = true;
    bool snapshots = true;
    bool nodes = true;
    bool browserControllers = true;
    static Classes none();
  };
  static constexpr double kPixelsPerPoint = 2;  // of lists: half points can be told
  static constexpr double kRowHeight = 24;      // of a sidebar, where no delegate tells
  static constexpr std::uint32_t kGray = 0xFF808080;

  PictureHost() : PictureHost(Classes{}) {}
  explicit PictureHost(Classes classes);
  PictureHost(const PictureHost&) = delete;
  PictureHost& operator=(const PictureHost&) = delete;

  platform::Runtime& runtime() { return recording.runtime; }
  std::shared_ptr<platform::Class> classNamed(const char* name) {
    return runtime().classNamed(name);
  }

  /// An icon of so many points, one pixel a point.
  std::shared_ptr<IconCell> makeIconCell(const std::string& path, platform::Size size,
                                         const char* className = "IKIconCell");
  /// The icon as it came out, y growing upwards in it.
  BitmapRef draw(const std::shared_ptr<IconCell>& cell);

  /// With a gray thumbnail.
  std::shared_ptr<ListCell> makeListCell(const std::string& path,
                                         const char* className = "TListViewIconAndTextCell");
  /// A view of 120 by 120 points, y growing downwards, in which one row was drawn.
  BitmapRef draw(const std::shared_ptr<ListCell>& cell, const Rect& frame);

  std::shared_ptr<DesktopIcon> makeDesktopIcon(const std::string& path, const Rect& frame);
  /// The layer, one pixel a point.
  BitmapRef draw(const std::shared_ptr<DesktopIcon>& icon,
                 const std::shared_ptr<platform::Layer>& layer, bool flipped = true);

  std::shared_ptr<Sidebar> makeSidebar(const std::vector<std::string>& names);
  /// Knows only the selectors that are given.
  std::shared_ptr<SidebarDelegate> makeDelegate(const std::vector<std::string>& selectors);
  /// Every selector that a delegate can have.
  static std::vector<std::string> delegateSelectors();
  std::vector<SidebarRow> draw(const std::shared_ptr<Sidebar>& sidebar);
  std::shared_ptr<View> makeView(const std::vector<Id>& subviews);
  /// A browser window that `controllerWithID:` answers for the number.
  void addWindow(std::int64_t id, const Id& sidebarContainer, const Id& browserContainer);

  RecordingHost recording;
  std::vector<std::string> events;  ///< of all sidebars and their delegates, in order
  std::shared_ptr<View> desktopView;
  int wrappersMade = 0;  ///< by `alloc`, of either class

 private:
  std::shared_ptr<Class> registerClass(bool present, const char* name, Class* super = nullptr);
  void registerWrappers(const Classes& classes);
  void registerIconCells(const Classes& classes);
  void registerListCells(const Classes& classes);
  void registerDesktop(const Classes& classes);
  void registerSidebars(const Classes& classes);
  void registerWindows(const Classes& classes);

  std::map<std::string, std::shared_ptr<Class>> classes_;  // those that are absent, too
  std::map<std::int64_t, Id> windows_;
  int delegateClasses_ = 0;
};

}  // namespace wevora::testing_host
