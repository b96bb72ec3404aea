#include "Hosts/Nautilus/Cell.h"

#include "Hosts/Nautilus/CellGeometry.h"
#include "Hosts/Nautilus/NewClass.h"
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
  auto wrappers = newClass(runtime, "IKImageWrapper");
  wrappers->addClassMethod(
      "alloc",
      // One is asked for with each drawing, and let go with it: the same does again.
      Implementation::of<Id()>([free = std::shared_ptr<ImageWrapper>()](const Id& self) mutable {
        if (free.use_count() != 1)
          free = std::make_shared<ImageWrapper>(static_cast<platform::Class&>(*self));
        free->image.reset();
        return Id(free);
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

std::shared_ptr<NotingTarget> Cell::Painting::target() {
  if (!open) return nullptr;
  if (!painted) painted = std::make_shared<NotingTarget>(deviceScale);
  return painted;
}

Cell::Cell(platform::Class& isa, CellKind kind, std::shared_ptr<Node> node,
           std::shared_ptr<View> view)
    : Object(isa),
      kind_(kind),
      node_(std::move(node)),
      view_(std::move(view)),
      icon_(std::make_shared<Image>(platform::Size{},
                                    [at = painting_](const Image&) { return at->target(); })) {}

void Cell::draw(const Pass& pass) {
  pass_ = &pass;
  iconRect_ = iconRect();
  hostDrawn_ = false;
  platform::swallowing([&] { kind_ == CellKind::Grid ? sendGridDrawing() : sendListDrawing(); });
  drawHost();
  painting_->open = false;
  painting_->painted.reset();
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
  if (!iconRect_) return;
  icon_->setSize({iconRect_->width, iconRect_->height});
  painting_->deviceScale = gtk_widget_get_scale_factor(pass_->widget);
  painting_->open = true;
  if (!wrapper_) wrapper_ = std::make_shared<ImageWrapper>(pass_->imageWrappers);
  wrapper_->image = icon_;
  send<void>(shared_from_this(), "drawImage:", Id(wrapper_));
}

void Cell::drawImage(const Id& wrapper) {
  if (pass_ == nullptr || !painting_->painted) return;
  const auto wrapped = std::dynamic_pointer_cast<ImageWrapper>(wrapper);
  if (wrapped && wrapped->image == icon_) replay(*painting_->painted);
}

// Like any image, the icon's ends at its edges: what is painted beyond is not seen.
void Cell::replay(const NotingTarget& painted) const {
  const graphene_rect_t edges{
      {static_cast<float>(iconRect_->x), static_cast<float>(iconRect_->y)},
      {static_cast<float>(iconRect_->width), static_cast<float>(iconRect_->height)}};
  SnapshotTarget target = targetAt(iconRect_->x, iconRect_->y);
  gtk_snapshot_push_clip(pass_->snapshot, &edges);
  painted.replay(target, iconRect_->height);
  gtk_snapshot_pop(pass_->snapshot);
}

void Cell::sendListDrawing() {
  if (!iconRect_) return;
  const ListRow row = listRowAround(*iconRect_, gtk_widget_get_width(pass_->widget));
  SnapshotTarget target = targetAt(row.x, row.y);
  const CurrentTarget current(target);
  send<void>(shared_from_this(), "drawIconWithFrame:", row.frame);
}

void Cell::drawIconWithFrame(const Rect&) {
  if (pass_ != nullptr) drawHost();
}

std::optional<Rect> Cell::iconRect() const {
  GtkWidget* const icon = pass_->icon;
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
