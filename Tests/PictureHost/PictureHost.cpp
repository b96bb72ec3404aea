#include "Tests/PictureHost/PictureHost.h"

#include <utility>

#include "Platform/Graphics/GraphicsContext.h"
#include "Tests/PictureFiles/PictureFiles.h"

namespace wevora::testing_host {
namespace {

using platform::BitmapContext;
using platform::CompositingOperation;
using platform::CurrentTarget;
using platform::Implementation;
using platform::Layer;
using platform::send;

constexpr std::size_t kView = 120;  // points

template <class T>
T& as(const Id& object) {
  return dynamic_cast<T&>(*object);
}

ImageRef grayImage(platform::Size size) {
  const auto bitmap =
      twoHalves(static_cast<std::size_t>(size.width), static_cast<std::size_t>(size.height),
                PictureHost::kGray, PictureHost::kGray);
  auto image = std::make_shared<platform::Image>(size);
  const platform::ImageRep rep{bitmap, size};
  image->addRepresentations({&rep, 1});
  return image;
}

void drawWhole(const platform::Image& image, const Rect& rect) {
  image.drawInRect(rect, {}, CompositingOperation::SourceOver, 1.0);
}

BitmapRef drawnAlone(const platform::Image& image) {
  const auto size = image.size();
  const auto target = BitmapContext::create({.width = static_cast<std::size_t>(size.width),
                                             .height = static_cast<std::size_t>(size.height)});
  const CurrentTarget current(*target);
  drawWhole(image, {0, 0, size.width, size.height});
  return target->createImage();
}

/// The host's own drawImage: of icon cells.
Implementation ownDrawImage(bool reflective) {
  return Implementation::of<void(Id)>([reflective](const Id& self, const Id& wrapper) {
    auto& cell = as<IconCell>(self);
    const auto image = send<ImageRef>(wrapper, "_nsImage");
    cell.drawn.push_back(image ? drawnAlone(*image) : nullptr);
    if (reflective) ++cell.reflections;
  });
}

}  // namespace

PictureHost::Classes PictureHost::Classes::none() {
  return {false, false, false, false, false, false, false, false, false, false, false, false};
}

PictureHost::PictureHost(Classes classes)
    : recording({.browserControllers = classes.browserControllers,
                 .desktop = classes.desktop,
                 .nodes = classes.nodes,
                 .listCells = classes.listCells}) {
  registerWrappers(classes);
  registerIconCells(classes);
  registerListCells(classes);
  registerDesktop(classes);
  registerSidebars(classes);
  registerWindows(classes);
}

std::shared_ptr<Class> PictureHost::registerClass(bool present, const char* name, Class* super) {
  auto made = classNamed(name);
  if (!made && present) made = runtime().registerClass(name, super);
  if (!made) made = std::make_shared<Class>(name, super);
  classes_[name] = made;
  return made;
}

void PictureHost::registerWrappers(const Classes& classes) {
  const auto add = [&](bool present, const char* name, const char* initializer) {
    const auto wrappers = registerClass(present, name);
    wrappers->addClassMethod("alloc", Implementation::of<Id()>([this](const Id& self) {
                               ++wrappersMade;
                               return std::make_shared<ImageWrapper>(as<Class>(self));
                             }),
                             "@@:");
    wrappers->addMethod(initializer,
                        Implementation::of<Id(ImageRef)>([](const Id& self, ImageRef image) {
                          as<ImageWrapper>(self).image = std::move(image);
                          return self;
                        }),
                        "@@:@");
    wrappers->addMethod("_nsImage", Implementation::of<ImageRef()>([](const Id& self) {
                          return as<ImageWrapper>(self).image;
                        }),
                        "@@:");
  };
  add(classes.wrappers, "IKImageWrapper", "initWithNSImage:");
  add(classes.sidebarImages, "NSSidebarImage", "initWithSourceImage:");
  registerClass(classes.snapshots, "NSCGImageSnapshotRep");
}

void PictureHost::registerIconCells(const Classes& classes) {
  const auto cells = registerClass(classes.iconCells, "IKIconCell");
  const auto reflective =
      registerClass(classes.reflectiveCells, "IKFinderReflectiveIconCell", cells.get());
  cells->addMethod("drawImage:", ownDrawImage(false), "v@:@");
  reflective->addMethod("drawImage:", ownDrawImage(true), "v@:@");
  cells->addMethod("representedItem", Implementation::of<Id()>([](const Id& self) {
                     return as<IconCell>(self).representedItem;
                   }),
                   "@@:");
  cells->addMethod("drawInteriorWithFrame:inView:",
                   Implementation::of<void(Rect, Id)>([](const Id& self, Rect frame, const Id& in) {
                     as<IconCell>(self).frames.emplace_back(frame, in);
                   }),
                   "v@:{CGRect={CGPoint=dd}{CGSize=dd}}@");
}

void PictureHost::registerListCells(const Classes& classes) {
  const auto cells = registerClass(classes.listCells, "TListViewIconAndTextCell");
  registerClass(classes.columnCells, "TColumnCell", cells.get());
  cells->addMethod(
      "drawIconWithFrame:", Implementation::of<void(Rect)>([](const Id& self, Rect frame) {
        auto& cell = as<ListCell>(self);
        cell.calls.emplace_back("drawIconWithFrame:");
        if (cell.thumbnail)
          drawWhole(*cell.thumbnail, {frame.x, frame.y, frame.height, frame.height});
      }),
      "v@:{CGRect={CGPoint=dd}{CGSize=dd}}");
  cells->addMethod("node", Implementation::of<const TFENode*()>([](const Id& self) {
                     return std::as_const(as<ListCell>(self).node).fNodeRef == nullptr
                                ? nullptr
                                : &std::as_const(as<ListCell>(self).node);
                   }),
                   "^v@:");
  cells->addMethod("view",
                   Implementation::of<Id()>([](const Id& self) { return as<ListCell>(self).view; }),
                   "@@:");
  cells->addMethod("thumbnail", Implementation::of<ImageRef()>([](const Id& self) {
                     return as<ListCell>(self).thumbnail;
                   }),
                   "@@:");
  cells->addMethod(
      "setThumbnail:", Implementation::of<void(ImageRef)>([](const Id& self, ImageRef image) {
        as<ListCell>(self).calls.emplace_back("setThumbnail:");
        as<ListCell>(self).thumbnail = std::move(image);
      }),
      "v@:@");
}

void PictureHost::registerDesktop(const Classes& classes) {
  Layer::registerIn(runtime());
  desktopView = recording.makeView();
  if (const auto desktop = classNamed("TDesktopViewController"))
    desktop->addMethod(
        "view", Implementation::of<Id()>([this](const Id&) { return Id(desktopView); }), "@@:");
  const auto icons = registerClass(classes.desktopIcons, "TDesktopIcon");
  icons->addMethod("drawLayer:inContext:",
                   Implementation::of<void(Id, DrawingTarget*)>(
                       [](const Id& self, const Id& layer, DrawingTarget* context) {
                         ++as<DesktopIcon>(self).drawnByHost;
                         const Rect frame = as<Layer>(layer).frame();
                         platform::contextDrawImage(*context, {0, 0, frame.width, frame.height},
                                                    twoHalves(8, 8, kGray, kGray));
                       }),
                   "v@:@^{CGContext=}");
  icons->addMethod(
      "setNeedsDisplay",
      Implementation::of<void()>([](const Id& self) { ++as<DesktopIcon>(self).redraws; }), "v@:");
}

void PictureHost::registerSidebars(const Classes& classes) {
  const auto views = classNamed("NSView");
  views->addMethod(
      "subviews", Implementation::of<std::vector<Id>()>([](const Id& self) {
        return self->instanceVariable<std::vector<Id>>("subviews").value_or(std::vector<Id>());
      }),
      "@@:");
  const auto sidebars = registerClass(classes.sidebars, "TSidebarView", views.get());
  sidebars->addMethod("delegate", Implementation::of<Id()>([](const Id& self) {
                        return as<Sidebar>(self).delegate.lock();
                      }),
                      "@@:");
  sidebars->addMethod(
      "setDelegate:", Implementation::of<void(Id)>([](const Id& self, const Id& delegate) {
        as<Sidebar>(self).delegate = delegate;
        as<Sidebar>(self).delegatesSet.push_back(delegate != nullptr);
      }),
      "v@:@");
  const auto items = registerClass(true, "TSidebarItem");
  items->addMethod("name", Implementation::of<std::optional<std::string>()>([](const Id& self) {
                     return self->instanceVariable<std::string>("name");
                   }),
                   "@@:");
  const auto cells = registerClass(true, "TSidebarCell");
  cells->addMethod("setImage:", Implementation::of<void(Id)>([this](const Id& self, Id image) {
                     events.emplace_back("setImage:");
                     as<SidebarCell>(self).images.push_back(std::move(image));
                   }),
                   "v@:@");
}

void PictureHost::registerWindows(const Classes& classes) {
  const auto controllers =
      registerClass(classes.browserControllers, "TBrowserWindowController", nullptr);
  controllers->addClassMethod(
      "controllerWithID:", Implementation::of<Id(std::int64_t)>([this](const Id&, std::int64_t id) {
        const auto found = windows_.find(id);
        return found == windows_.end() ? nullptr : found->second;
      }),
      "@@:q");
  for (const char* container : {"sidebarViewContainer", "browserViewContainer"})
    controllers->addMethod(container, Implementation::of<Id()>([container](const Id& self) {
                             return self->instanceVariable<Id>(container).value_or(nullptr);
                           }),
                           "@@:");
}

// --- Cells ---------------------------------------------------------------------------------------

std::shared_ptr<IconCell> PictureHost::makeIconCell(const std::string& path, platform::Size size,
                                                    const char* className) {
  auto cell = std::make_shared<IconCell>(*classes_.at(className));
  cell->representedItem = recording.makeNode(path);
  cell->icon = grayImage(size);
  return cell;
}

BitmapRef PictureHost::draw(const std::shared_ptr<IconCell>& cell) {
  const auto wrapper = std::make_shared<ImageWrapper>(*classes_.at("IKImageWrapper"));
  wrapper->image = cell->icon;
  send<void>(cell, "drawImage:", Id(wrapper));
  return cell->drawn.back();
}

std::shared_ptr<ListCell> PictureHost::makeListCell(const std::string& path,
                                                    const char* className) {
  auto cell = std::make_shared<ListCell>(*classes_.at(className));
  cell->node = recording.referenceTo(path);
  cell->view = recording.makeView();
  cell->thumbnail = grayImage({16, 16});
  return cell;
}

BitmapRef PictureHost::draw(const std::shared_ptr<ListCell>& cell, const Rect& frame) {
  const auto side = static_cast<std::size_t>(kView * kPixelsPerPoint);
  const auto target = BitmapContext::create(
      {.width = side, .height = side, .scale = kPixelsPerPoint, .flipped = true});
  const CurrentTarget current(*target);
  send<void>(cell, "drawIconWithFrame:", frame);
  return target->createImage();
}

std::shared_ptr<DesktopIcon> PictureHost::makeDesktopIcon(const std::string& path,
                                                          const Rect& frame) {
  auto icon = std::make_shared<DesktopIcon>(*classes_.at("TDesktopIcon"));
  const auto layers = classNamed("CALayer");
  icon->icon = std::make_shared<Layer>(*layers);
  icon->title = std::make_shared<Layer>(*layers);
  icon->icon->setFrame(frame);
  icon->title->setFrame(frame);
  icon->setInstanceVariable("_icon", Id(icon->icon));
  icon->setInstanceVariable("_node", recording.referenceTo(path));
  return icon;
}

BitmapRef PictureHost::draw(const std::shared_ptr<DesktopIcon>& icon,
                            const std::shared_ptr<Layer>& layer, bool flipped) {
  const auto target =
      BitmapContext::create({.width = static_cast<std::size_t>(layer->frame().width),
                             .height = static_cast<std::size_t>(layer->frame().height),
                             .flipped = flipped});
  send<void>(icon, "drawLayer:inContext:", Id(layer), static_cast<DrawingTarget*>(target.get()));
  return target->createImage();
}

// --- Sidebars ------------------------------------------------------------------------------------

std::shared_ptr<Sidebar> PictureHost::makeSidebar(const std::vector<std::string>& names) {
  auto sidebar = std::make_shared<Sidebar>(*classes_.at("TSidebarView"));
  for (const auto& name : names) {
    const Id item = std::make_shared<Object>(*classes_.at("TSidebarItem"));
    item->setInstanceVariable("name", name);
    sidebar->items.push_back(item);
  }
  return sidebar;
}

std::vector<std::string> PictureHost::delegateSelectors() {
  return {"outlineView:willDisplayCell:forTableColumn:item:",
          "outlineView:dataCellForTableColumn:item:", "outlineView:viewForTableColumn:item:",
          "outlineView:isGroupItem:", "outlineView:heightOfRowByItem:"};
}

std::shared_ptr<SidebarDelegate> PictureHost::makeDelegate(
    const std::vector<std::string>& selectors) {
  const auto own = runtime().registerClass("TSidebarDelegate" + std::to_string(delegateClasses_++));
  const auto record = [this](const Id& self, const std::string& selector) {
    as<SidebarDelegate>(self).calls.push_back(selector);
    events.push_back(selector);
  };
  for (const auto& selector : selectors) {
    Implementation body;
    if (selector.find("willDisplayCell:") != std::string::npos)
      body = Implementation::of<void(Id, Id, Id, Id)>(
          [record, selector](const Id& self, const Id&, const Id&, const Id&, const Id&) {
            record(self, selector);
          });
    else if (selector.find("TableColumn:item:") != std::string::npos)
      body = Implementation::of<Id(Id, Id, Id)>(
          [record, selector](const Id& self, const Id&, const Id&, const Id& item) {
            record(self, selector);
            return item;
          });
    else if (selector == "outlineView:isGroupItem:")
      body = Implementation::of<bool(Id, Id)>(
          [record, selector](const Id& self, const Id&, const Id&) {
            record(self, selector);
            return true;
          });
    else if (selector == "outlineView:heightOfRowByItem:")
      body = Implementation::of<double(Id, Id)>(
          [record, selector](const Id& self, const Id&, const Id&) {
            record(self, selector);
            return 37.5;
          });
    else
      body = Implementation::of<std::string(std::string)>(
          [record, selector](const Id& self, const std::string& text) {
            record(self, selector);
            return "echo " + text;
          });
    own->addMethod(selector, body, "types of " + selector);
  }
  return std::make_shared<SidebarDelegate>(*own);
}

std::vector<SidebarRow> PictureHost::draw(const std::shared_ptr<Sidebar>& sidebar) {
  const Id delegate = send<Id>(sidebar, "delegate");
  std::vector<SidebarRow> rows;
  for (const Id& item : sidebar->items) {
    SidebarRow row{nullptr, kRowHeight};
    if (delegate && delegate->respondsToSelector("outlineView:heightOfRowByItem:"))
      row.height = send<double>(delegate, "outlineView:heightOfRowByItem:", Id(sidebar), item);
    const auto cell = std::make_shared<SidebarCell>(*classes_.at("TSidebarCell"));
    const char* willDisplay = "outlineView:willDisplayCell:forTableColumn:item:";
    if (delegate && delegate->respondsToSelector(willDisplay))
      send<void>(delegate, willDisplay, Id(sidebar), Id(cell), Id(), item);
    if (!cell->images.empty() && cell->images.back())
      row.picture = as<ImageWrapper>(cell->images.back()).image;
    rows.push_back(row);
  }
  return rows;
}

std::shared_ptr<View> PictureHost::makeView(const std::vector<Id>& subviews) {
  auto view = recording.makeView();
  view->setInstanceVariable("subviews", subviews);
  return view;
}

void PictureHost::addWindow(std::int64_t id, const Id& sidebarContainer,
                            const Id& browserContainer) {
  const Id controller = std::make_shared<Object>(*classes_.at("TBrowserWindowController"));
  controller->setInstanceVariable("sidebarViewContainer", sidebarContainer);
  controller->setInstanceVariable("browserViewContainer", browserContainer);
  windows_[id] = controller;
}

}  // namespace wevora::testing_host
