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

class IconCell : public Cell {
 public:
  IconCell(Class& isa, std::shared_ptr<Node> node, std::shared_ptr<View> view, Class& wrappers,
           ImageCache& images)
      : Cell(isa, std::move(node), std::move(view)),
        wrappers_(wrappers),
        images_(images),
        icon_(std::make_shared<Image>(
            platform::Size{}, [recording = recording_](const Image&) { return *recording; })) {}

  void draw(const Pass& pass) override {
    pass_ = &pass;
    const platform::ScopeExit done([this] {
      recording_->reset();
      pass_ = nullptr;
    });
    const Rect frame{0, 0, pass.item.width(), pass.item.height()};
    send<void>(Id(shared_from_this()), "drawInteriorWithFrame:inView:", frame, Id(view()));
  }

  // The bundle draws the badge into the icon's image before the host draws that image. The host has
  // already painted the icon, so the bundle gets a transparent image which records the badge;
  // drawing the image replays the recording over the icon.
  void drawInteriorWithFrame(const Rect&, const Id&) override {
    if (pass_ == nullptr) return;
    icon_->setSize({pass_->icon.width(), pass_->icon.height()});
    *recording_ = std::make_shared<RecordingTarget>(target().deviceScale());
    const auto wrapper = std::make_shared<ImageWrapper>(wrappers_);
    wrapper->image = icon_;
    send<void>(Id(shared_from_this()), "drawImage:", Id(wrapper));
  }

  void drawImage(const Id& wrapper) override {
    const auto wrapped = std::dynamic_pointer_cast<ImageWrapper>(wrapper);
    if (pass_ == nullptr || !*recording_ || !wrapped || wrapped->image != icon_) return;
    QtTarget over = target();
    (*recording_)->replay(over, pass_->icon.height());
  }

 private:
  QtTarget target() const { return {pass_->painter, images_, pass_->icon.topLeft()}; }

  Class& wrappers_;
  ImageCache& images_;
  /// Shared with the image, which may outlive the cell in a wrapper.
  const std::shared_ptr<std::shared_ptr<RecordingTarget>> recording_ =
      std::make_shared<std::shared_ptr<RecordingTarget>>();
  const ImageRef icon_;
  const Pass* pass_ = nullptr;
};

class ListCell : public Cell {
 public:
  ListCell(Class& isa, std::shared_ptr<Node> node, std::shared_ptr<View> view, ImageCache& images)
      : Cell(isa, std::move(node), std::move(view)), images_(images) {}

  void draw(const Pass& pass) override {
    const auto row = hosts::listRowAround(
        {pass.box.x(), pass.box.y(), pass.box.width(), pass.box.height()}, pass.item.width());
    pass.painter.setClipRect(pass.item);  // do not paint over the next columns
    QtTarget target(pass.painter, images_, {row.x, row.y});
    const platform::CurrentTarget current(target);
    send<void>(Id(shared_from_this()), "drawIconWithFrame:", row.frame);
  }
  ImageRef thumbnail() const override { return thumbnail_; }

 private:
  ImageCache& images_;
  const ImageRef thumbnail_ = std::make_shared<Image>();
};

/// "CALayer": the layer of a desktop icon.
class Layer : public platform::Object {
 public:
  using Object::Object;
  Rect frame;  ///< in the viewport's coordinates
};

class DesktopIcon : public Cell {
 public:
  DesktopIcon(Class& isa, std::shared_ptr<Node> node, std::shared_ptr<View> view, Class& layers,
              ImageCache& images)
      : Cell(isa, std::move(node), std::move(view)),
        images_(images),
        layer_(std::make_shared<Layer>(layers)) {
    setInstanceVariable("_icon", Id(layer_));
    setInstanceVariable("_node", *this->node()->reference());
  }

  void draw(const Pass& pass) override {
    layer_->frame = {pass.box.x(), pass.box.y(), pass.box.width(), pass.box.height()};
    QtTarget target(pass.painter, images_, pass.box.topLeft());
    send<void>(Id(shared_from_this()), "drawLayer:inContext:", Id(layer_),
               static_cast<DrawingTarget*>(&target));
  }

 private:
  ImageCache& images_;
  const std::shared_ptr<Layer> layer_;
};

template <class Kind>
Kind& as(const Id& self) {
  return static_cast<Kind&>(*self);
}

}  // namespace

Cells::Cells(platform::Runtime& runtime) : classes_(runtime) {
  registerDesktopIcons(runtime);
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
      return std::make_shared<ListCell>(classes_.listCells(), std::move(node), std::move(view),
                                        images_);
    case CellKind::Desktop:
      return std::make_shared<DesktopIcon>(*desktopIcons_, std::move(node), std::move(view),
                                           *layers_, images_);
    case CellKind::Icon:
      break;
  }
  return std::make_shared<IconCell>(classes_.iconCells(), std::move(node), std::move(view),
                                    classes_.imageWrappers(), images_);
}

}  // namespace wevora::pcmanfmqt
