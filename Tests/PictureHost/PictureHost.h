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
  /// The result of each drawing at one pixel per point; null if there was no image to draw.
  std::vector<BitmapRef> drawn;
  std::vector<std::pair<Rect, Id>> frames;  ///< arguments of drawInteriorWithFrame:inView:
  int reflections = 0;
};

/// A list or column cell.
class ListCell : public Object {
 public:
  using Object::Object;
  TFENode node;
  Id view;
  ImageRef thumbnail;
  std::vector<std::string> calls;  ///< calls of the host's own methods
};

/// A desktop icon with its layers.
class DesktopIcon : public Object {
 public:
  using Object::Object;
  std::shared_ptr<platform::Layer> icon;
  std::shared_ptr<platform::Layer> title;
  int redraws = 0;
  int drawnByHost = 0;
};

/// A drawn sidebar row.
struct SidebarRow {
  ImageRef picture;
  double height = 0;
};

/// A sidebar. Its delegate is a weak reference.
class Sidebar : public View {
 public:
  using View::View;
  std::vector<Id> items;
  std::weak_ptr<Object> delegate;
  std::vector<bool> delegatesSet;  ///< for each call of the setter, whether it was non-null
};

/// The host's own delegate of a sidebar.
class SidebarDelegate : public Object {
 public:
  using Object::Object;
  std::vector<std::string> calls;
};

/// A sidebar cell that records the images set.
class SidebarCell : public Object {
 public:
  using Object::Object;
  std::vector<Id> images;
};

/// The host's wrapper of an image, for icon views or sidebars.
class ImageWrapper : public Object {
 public:
  using Object::Object;
  ImageRef image;
};

/// A fake host with cells of all kinds that draws into images in memory. Its own drawing is gray,
/// so that any other colour belongs to a badge.
class PictureHost {
 public:
  /// Which classes the host registers.
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
  static constexpr double kPixelsPerPoint = 2;  // of lists, so that half points are visible
  static constexpr double kRowHeight = 24;      // of a sidebar row whose delegate has no height
  static constexpr std::uint32_t kGray = 0xFF808080;

  PictureHost() : PictureHost(Classes{}) {}
  explicit PictureHost(Classes classes);
  PictureHost(const PictureHost&) = delete;
  PictureHost& operator=(const PictureHost&) = delete;

  platform::Runtime& runtime() { return recording.runtime; }
  std::shared_ptr<platform::Class> classNamed(const char* name) {
    return runtime().classNamed(name);
  }

  /// An icon of the given size in points, at one pixel per point.
  std::shared_ptr<IconCell> makeIconCell(const std::string& path, platform::Size size,
                                         const char* className = "IKIconCell");
  /// Draws the icon in a target whose y grows upwards.
  BitmapRef draw(const std::shared_ptr<IconCell>& cell);

  /// With a gray thumbnail.
  std::shared_ptr<ListCell> makeListCell(const std::string& path,
                                         const char* className = "TListViewIconAndTextCell");
  /// Draws one row in a view of 120 by 120 points whose y grows downwards.
  BitmapRef draw(const std::shared_ptr<ListCell>& cell, const Rect& frame);

  std::shared_ptr<DesktopIcon> makeDesktopIcon(const std::string& path, const Rect& frame);
  /// Draws the layer at one pixel per point.
  BitmapRef draw(const std::shared_ptr<DesktopIcon>& icon,
                 const std::shared_ptr<platform::Layer>& layer, bool flipped = true);

  std::shared_ptr<Sidebar> makeSidebar(const std::vector<std::string>& names);
  /// A delegate that responds only to these selectors.
  std::shared_ptr<SidebarDelegate> makeDelegate(const std::vector<std::string>& selectors);
  /// All selectors of a sidebar delegate.
  static std::vector<std::string> delegateSelectors();
  std::vector<SidebarRow> draw(const std::shared_ptr<Sidebar>& sidebar);
  std::shared_ptr<View> makeView(const std::vector<Id>& subviews);
  /// Adds a browser window that `controllerWithID:` returns for this number.
  void addWindow(std::int64_t id, const Id& sidebarContainer, const Id& browserContainer);

  RecordingHost recording;
  std::vector<std::string> events;  ///< calls of all sidebars and their delegates, in order
  std::shared_ptr<View> desktopView;
  int wrappersMade = 0;  ///< by `alloc` of both wrapper classes

 private:
  std::shared_ptr<Class> registerClass(bool present, const char* name, Class* super = nullptr);
  void registerWrappers(const Classes& classes);
  void registerIconCells(const Classes& classes);
  void registerListCells(const Classes& classes);
  void registerDesktop(const Classes& classes);
  void registerSidebars(const Classes& classes);
  void registerWindows(const Classes& classes);

  std::map<std::string, std::shared_ptr<Class>> classes_;  // including unregistered ones
  std::map<std::int64_t, Id> windows_;
  int delegateClasses_ = 0;
};

}  // namespace wevora::testing_host
