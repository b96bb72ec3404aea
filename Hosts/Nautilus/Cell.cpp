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
  if (!recording) recording = std::make_shared<RecordingTarget>(deviceScale);
  return recording;
}

Cell::Cell(platform::Class& isa, CellKind kind, std::shared_ptr<Node> node,
           std::shared_ptr<View> view)
    : hosts::Cell(isa, std::move(node), std::move(view)),
      kind_(kind),
      icon_(std::make_shared<Image>(
          platform::Size{}, [painting = painting_](const Image&) { return painting->target(); })) {}

void Cell::draw(const Pass& pass) {
  pass_ = &pass;
  iconRect_ = iconRect();
  hostDrawn_ = false;
  platform::catchAll([&] { kind_ == CellKind::Grid ? sendGridDrawing() : sendListDrawing(); });
  drawHost();
  painting_->open = false;
  painting_->recording.reset();
  pass_ = nullptr;
}

void Cell::drawHost() {
  if (std::exchange(hostDrawn_, true)) return;
  drawHostCell(kind_, pass_->widget, pass_->snapshot);
}

void Cell::sendGridDrawing() {
  const Rect frame{0, 0, static_cast<double>(gtk_widget_get_width(pass_->widget)),
                   static_cast<double>(gtk_widget_get_height(pass_->widget))};
  send<void>(Id(shared_from_this()), "drawInteriorWithFrame:inView:", frame, Id(view()));
}

// The bundle draws the badge into the icon's image before the host draws that image. GTK draws the
// icon together with the rest of the widget, so the bundle gets a transparent image which records
// the badge; drawing the image replays the recording over the icon.
void Cell::drawInteriorWithFrame(const Rect&, const Id&) {
  if (pass_ == nullptr) return;
  drawHost();
  if (!iconRect_) return;
  icon_->setSize({iconRect_->width, iconRect_->height});
  painting_->deviceScale = gtk_widget_get_scale_factor(pass_->widget);
  painting_->open = true;
  if (!wrapper_) wrapper_ = std::make_shared<ImageWrapper>(pass_->imageWrappers);
  wrapper_->image = icon_;
  send<void>(Id(shared_from_this()), "drawImage:", Id(wrapper_));
}

void Cell::drawImage(const Id& wrapper) {
  if (pass_ == nullptr || !painting_->recording) return;
  const auto wrapped = std::dynamic_pointer_cast<ImageWrapper>(wrapper);
  if (!wrapped || wrapped->image != icon_) return;
  targetAt(iconRect_->x, iconRect_->y)
      .drawRecorded(*painting_->recording, {iconRect_->width, iconRect_->height});
}

void Cell::sendListDrawing() {
  if (!iconRect_) return;
  const ListRow row = listRowAround(*iconRect_, gtk_widget_get_width(pass_->widget));
  SnapshotTarget target = targetAt(row.x, row.y);
  const CurrentTarget current(target);
  send<void>(Id(shared_from_this()), "drawIconWithFrame:", row.frame);
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
