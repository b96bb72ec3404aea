#include "Hosts/Nautilus/Cell.h"

#include "Hosts/Nautilus/CellGeometry.h"
#include "Platform/Graphics/GraphicsContext.h"
#include "Platform/Support/Guard.h"

namespace wevora::nautilus {

using platform::CurrentTarget;
using platform::Id;
using platform::Image;
using platform::ImageRef;
using platform::Implementation;
using platform::Rect;
using platform::send;

std::shared_ptr<platform::Class> ImageWrapper::registerIn(platform::Runtime& runtime) {
  auto wrappers = runtime.registerClass("IKImageWrapper");
  wrappers->addClassMethod(
      "alloc", Implementation::of<Id()>([](const Id& self) -> Id {
        return std::make_shared<ImageWrapper>(static_cast<platform::Class&>(*self));
      }),
      "@@:");
  wrappers->addMethod("initWithNSImage:",
                      Implementation::of<Id(ImageRef)>([](const Id& self, const ImageRef& shown) {
                        static_cast<ImageWrapper&>(*self).image = shown;
                        return self;
                      }),
                      "@@:@");
  wrappers->addMethod("_nsImage", Implementation::of<ImageRef()>([](const Id& self) {
                        return static_cast<ImageWrapper&>(*self).image;
                      }),
                      "@@:");
  return wrappers;
}

Cell::Cell(platform::Class& isa, CellKind kind, std::shared_ptr<Node> node,
           std::shared_ptr<View> view)
    : Object(isa),
      kind_(kind),
      node_(std::move(node)),
      view_(std::move(view)),
      icon_(std::make_shared<Image>(platform::Size{}, [this](const Image&) { return painted_; })) {}

void Cell::draw(const Pass& pass) {
  pass_ = &pass;
  hostDrawn_ = false;
  platform::swallowing([&] { kind_ == CellKind::Grid ? sendGridDrawing() : sendListDrawing(); });
  drawHost();
  painted_.reset();
  pass_ = nullptr;
}

void Cell::drawHost() {
  if (std::exchange(hostDrawn_, true)) return;
  drawHostCell(kind_, pass_->widget, pass_->snapshot);
}

void Cell::sendGridDrawing() {
  const Rect frame{0, 0, static_cast<double>(gtk_widget_get_width(pass_->widget)),
                   static_cast<double>(gtk_widget_get_height(pass_->widget))};
  send<void>(shared_from_this(), "drawInteriorWithFrame:inView:", frame, Id(view_));
}

// The bundle paints into the icon's image before the host draws it. GTK draws the icon together
// with the rest of the widget, so the image that the bundle gets is clear and notes what is painted
// into it, and drawing it lays that over the icon.
void Cell::drawInteriorWithFrame(const Rect&, const Id&) {
  if (pass_ == nullptr) return;
  drawHost();
  const auto icon = iconRect();
  if (!icon) return;
  icon_->setSize({icon->width, icon->height});
  painted_ = std::make_shared<NotingTarget>(gtk_widget_get_scale_factor(pass_->widget));
  const auto wrapper = std::make_shared<ImageWrapper>(pass_->imageWrappers);
  wrapper->image = icon_;
  send<void>(shared_from_this(), "drawImage:", Id(wrapper));
}

void Cell::drawImage(const Id& wrapper) {
  const auto wrapped = std::dynamic_pointer_cast<ImageWrapper>(wrapper);
  if (pass_ == nullptr || !painted_ || !wrapped || wrapped->image != icon_) return;
  const auto icon = iconRect();
  if (!icon) return;
  SnapshotTarget target = targetAt(icon->x, icon->y);
  painted_->replay(target, icon->height);
}

void Cell::sendListDrawing() {
  const auto icon = iconRect();
  if (!icon) return;
  const ListRow row = listRowAround(*icon, gtk_widget_get_width(pass_->widget));
  SnapshotTarget target = targetAt(row.x, row.y);
  const CurrentTarget current(target);
  send<void>(shared_from_this(), "drawIconWithFrame:", row.frame);
}

void Cell::drawIconWithFrame(const Rect&) {
  if (pass_ != nullptr) drawHost();
}

std::optional<Rect> Cell::iconRect() const {
  GtkWidget* icon = iconOf(pass_->widget);
  graphene_rect_t bounds;
  if (icon == nullptr || !gtk_widget_get_visible(icon) ||
      !gtk_widget_compute_bounds(icon, pass_->widget, &bounds))
    return std::nullopt;
  return Rect{bounds.origin.x, bounds.origin.y, bounds.size.width, bounds.size.height};
}

SnapshotTarget Cell::targetAt(double x, double y) const {
  return {pass_->snapshot,
          pass_->textures,
          {.origin = {static_cast<float>(x), static_cast<float>(y)},
           .deviceScale = static_cast<double>(gtk_widget_get_scale_factor(pass_->widget))}};
}

}  // namespace wevora::nautilus
