#include "Hosts/Nautilus/Cell.h"

#include "Hosts/Common/CellGeometry.h"
#include "Platform/Base/Guard.h"
#include "Platform/Graphics/GraphicsContext.h"

namespace wevora::nautilus {
namespace {

bool isDrawnByCairo(GtkWidget* widget) {
  GtkNative* const native = gtk_widget_get_native(widget);
  return native != nullptr && GSK_IS_CAIRO_RENDERER(gtk_native_get_renderer(native));
}

}  // namespace

using hosts::ImageWrapper;
using hosts::ListRow;
using hosts::listRowAround;
using hosts::Node;
using hosts::RecordingTarget;
using hosts::View;
using platform::CurrentTarget;
using platform::Id;
using platform::Image;
using platform::ImageRef;
using platform::Rect;
using platform::send;

std::shared_ptr<RecordingTarget> Cell::Painting::target() {
  if (!open) return nullptr;
  if (!painted) painted = std::make_shared<RecordingTarget>(deviceScale);
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
  platform::catchAll([&] { kind_ == CellKind::Grid ? sendGridDrawing() : sendListDrawing(); });
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
  if (!wrapped || wrapped->image != icon_) return;
  targetAt(iconRect_->x, iconRect_->y)
      .drawRecorded(*painting_->painted, {iconRect_->width, iconRect_->height});
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
           .deviceScale = static_cast<double>(gtk_widget_get_scale_factor(pass_->widget)),
           .hasHardware = !isDrawnByCairo(pass_->widget)}};
}

}  // namespace wevora::nautilus
