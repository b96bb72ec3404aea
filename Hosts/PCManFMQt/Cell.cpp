#include "Hosts/PCManFMQt/Cell.h"

#include <utility>

#include "Hosts/Common/CellGeometry.h"
#include "Hosts/Common/ImageWrapper.h"
#include "Hosts/Common/NewClass.h"
#include "Platform/Base/Guard.h"
#include "Platform/Graphics/GraphicsContext.h"

namespace wevora::pcmanfmqt {
namespace {

using hosts::ImageWrapper;
using hosts::Node;
using hosts::RecordingTarget;
using hosts::View;
using platform::Class;
using platform::DrawingTarget;
using platform::Id;
using platform::Image;
using platform::ImageRef;
using platform::Implementation;
using platform::Rect;
using platform::send;

/// Threads, Owns, Errors: as Cell; owns what was painted into its icon too.
class IconCell : public Cell {
 public:
  IconCell(Class& isa, std::shared_ptr<Node> node, std::shared_ptr<View> view, Class& wrappers,
           ImageCache& pictures)
      : Cell(isa, std::move(node), std::move(view)),
        wrappers_(wrappers),
        pictures_(pictures),
        icon_(
            std::make_shared<Image>(platform::Size{}, [this](const Image&) { return painted_; })) {}

  void draw(const Pass& pass) override {
    pass_ = &pass;
    const platform::ScopeExit done([this] {
      painted_.reset();
      pass_ = nullptr;
    });
    const Rect frame{0, 0, pass.item.width(), pass.item.height()};
    send<void>(Id(shared_from_this()), "drawInteriorWithFrame:inView:", frame, Id(view()));
  }

  // The bundle paints into the icon's image before the host draws it. The host has drawn the icon
  // already, so the image that the bundle gets is clear and notes what is painted into it, and
  // drawing it lays that over the icon.
  // -drawInteriorWithFrame:inView:
  void drawInteriorWithFrame(const Rect&, const Id&) {
    if (pass_ == nullptr) return;
    icon_->setSize({pass_->icon.width(), pass_->icon.height()});
    painted_ = std::make_shared<RecordingTarget>(target().deviceScale());
    const auto wrapper = std::make_shared<ImageWrapper>(wrappers_);
    wrapper->image = icon_;
    send<void>(Id(shared_from_this()), "drawImage:", Id(wrapper));
  }

  // -drawImage:
  void drawImage(const Id& wrapper) {
    const auto wrapped = std::dynamic_pointer_cast<ImageWrapper>(wrapper);
    if (pass_ == nullptr || !painted_ || !wrapped || wrapped->image != icon_) return;
    QtTarget over = target();
    painted_->replay(over, pass_->icon.height());
  }

 private:
  QtTarget target() const { return {pass_->painter, pictures_, pass_->icon.topLeft()}; }

  Class& wrappers_;
  ImageCache& pictures_;
  std::shared_ptr<RecordingTarget> painted_;
  const ImageRef icon_;
  const Pass* pass_ = nullptr;
};

/// Threads, Owns, Errors: as Cell.
class ListCell : public Cell {
 public:
  ListCell(Class& isa, std::shared_ptr<Node> node, std::shared_ptr<View> view, ImageCache& pictures)
      : Cell(isa, std::move(node), std::move(view)), pictures_(pictures) {}

  void draw(const Pass& pass) override {
    const auto row = hosts::listRowAround(
        {pass.box.x(), pass.box.y(), pass.box.width(), pass.box.height()}, pass.item.width());
    pass.painter.setClipRect(pass.item);  // the columns beside it are the host's alone
    QtTarget target(pass.painter, pictures_, {row.x, row.y});
    const platform::CurrentTarget current(target);
    send<void>(Id(shared_from_this()), "drawIconWithFrame:", row.frame);
  }
  /// Never null: what the host shows is the thumbnail, and is not replaced.
  // -thumbnail
  const ImageRef& thumbnail() const noexcept { return thumbnail_; }

 private:
  ImageCache& pictures_;
  const ImageRef thumbnail_ = std::make_shared<Image>();
};

/// What an icon of the desktop is painted on.
/// Threads: the main thread. Owns: nothing. Errors: none.
class Layer : public platform::Object {
 public:
  using Object::Object;
  Rect frame;  ///< in the viewport's coordinates
};

/// Threads, Owns, Errors: as Cell; owns its layer too.
class DesktopIcon : public Cell {
 public:
  DesktopIcon(Class& isa, std::shared_ptr<Node> node, std::shared_ptr<View> view, Class& layers,
              ImageCache& pictures)
      : Cell(isa, std::move(node), std::move(view)),
        pictures_(pictures),
        layer_(std::make_shared<Layer>(layers)) {
    setInstanceVariable("_icon", Id(layer_));
    setInstanceVariable("_node", *this->node()->reference());
  }

  void draw(const Pass& pass) override {
    layer_->frame = {pass.box.x(), pass.box.y(), pass.box.width(), pass.box.height()};
    QtTarget target(pass.painter, pictures_, pass.box.topLeft());
    send<void>(Id(shared_from_this()), "drawLayer:inContext:", Id(layer_),
               static_cast<DrawingTarget*>(&target));
  }

 private:
  ImageCache& pictures_;
  const std::shared_ptr<Layer> layer_;
};

template <class Kind>
Kind& as(const Id& self) {
  return static_cast<Kind&>(*self);
}

constexpr const char* kRect = "v@:{CGRect={CGPoint=dd}{CGSize=dd}}";

void addControlView(Class& cells) {
  cells.addMethod(
      "controlView",
      Implementation::of<Id()>([](const Id& self) { return Id(as<Cell>(self).view()); }), "@@:");
}

}  // namespace

Cells::Cells(platform::Runtime& runtime) : imageWrappers_(ImageWrapper::registerIn(runtime)) {
  registerIcons(runtime);
  registerRows(runtime);
  registerDesktopIcons(runtime);
}

void Cells::registerIcons(platform::Runtime& runtime) {
  iconCells_ = hosts::newClass(runtime, "IKIconCell");
  iconCells_->addMethod(
      "representedItem",
      Implementation::of<Id()>([](const Id& self) { return Id(as<Cell>(self).node()); }), "@@:");
  iconCells_->addMethod(
      "drawImage:", Implementation::of<void(Id)>([](const Id& self, const Id& wrapper) {
        as<IconCell>(self).drawImage(wrapper);
      }),
      "v@:@");
  iconCells_->addMethod(
      "drawInteriorWithFrame:inView:",
      Implementation::of<void(Rect, Id)>([](const Id& self, const Rect& frame, const Id& view) {
        as<IconCell>(self).drawInteriorWithFrame(frame, view);
      }),
      "v@:{CGRect={CGPoint=dd}{CGSize=dd}}@");
  addControlView(*iconCells_);
}

void Cells::registerRows(platform::Runtime& runtime) {
  listCells_ = hosts::newClass(runtime, "TListViewIconAndTextCell");
  listCells_->addMethod("node", Implementation::of<const TFENode*()>([](const Id& self) {
                          return as<Cell>(self).node()->reference();
                        }),
                        "^v@:");
  listCells_->addMethod(
      "view", Implementation::of<Id()>([](const Id& self) { return Id(as<Cell>(self).view()); }),
      "@@:");
  listCells_->addMethod(
      "drawIconWithFrame:", Implementation::of<void(Rect)>([](const Id&, const Rect&) {}), kRect);
  listCells_->addMethod("thumbnail", Implementation::of<ImageRef()>([](const Id& self) {
                          return as<ListCell>(self).thumbnail();
                        }),
                        "@@:");
  listCells_->addMethod(
      "setThumbnail:", Implementation::of<void(ImageRef)>([](const Id&, const ImageRef&) {}),
      "v@:@");
  addControlView(*listCells_);
}

void Cells::registerDesktopIcons(platform::Runtime& runtime) {
  desktopIcons_ = hosts::newClass(runtime, "TDesktopIcon");
  desktopIcons_->addMethod(
      "drawLayer:inContext:",
      Implementation::of<void(Id, DrawingTarget*)>([](const Id&, const Id&, DrawingTarget*) {}),
      "v@:@^{CGContext=}");
  desktopIcons_->addMethod("setNeedsDisplay", Implementation::of<void()>([](const Id& self) {
                             as<Cell>(self).view()->setNeedsDisplay(true);
                           }),
                           "v@:");
  layers_ = hosts::newClass(runtime, "CALayer");
  layers_->addMethod(
      "frame", Implementation::of<Rect()>([](const Id& self) { return as<Layer>(self).frame; }),
      "{CGRect={CGPoint=dd}{CGSize=dd}}@:");
}

std::shared_ptr<Cell> Cells::make(CellKind kind, std::shared_ptr<Node> node,
                                  std::shared_ptr<View> view) {
  switch (kind) {
    case CellKind::List:
      return std::make_shared<ListCell>(*listCells_, std::move(node), std::move(view), pictures_);
    case CellKind::Desktop:
      return std::make_shared<DesktopIcon>(*desktopIcons_, std::move(node), std::move(view),
                                           *layers_, pictures_);
    case CellKind::Icon:
      break;
  }
  return std::make_shared<IconCell>(*iconCells_, std::move(node), std::move(view), *imageWrappers_,
                                    pictures_);
}

}  // namespace wevora::pcmanfmqt
