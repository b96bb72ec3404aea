#include "Hosts/Nautilus/SnapshotTarget.h"

namespace wevora::nautilus {
namespace {

graphene_rect_t rectOf(const platform::Rect& rect) {
  return {{static_cast<float>(rect.x), static_cast<float>(rect.y)},
          {static_cast<float>(rect.width), static_cast<float>(rect.height)}};
}

/// Where the whole bitmap lies if its `source` fills a destination of this size at the origin.
graphene_rect_t wholeBitmap(const platform::Bitmap& bitmap, const platform::Rect& source,
                            const platform::Rect& destination) {
  const double across = destination.width / source.width;
  const double down = destination.height / source.height;
  return rectOf({-source.x * across, -source.y * down, static_cast<double>(bitmap.width()) * across,
                 static_cast<double>(bitmap.height()) * down});
}

}  // namespace

void SnapshotTarget::drawBitmap(const platform::BitmapRef& bitmap,
                                const platform::BitmapDrawing& drawing) {
  const auto& destination = drawing.destination;
  const graphene_rect_t visible = rectOf({0, 0, destination.width, destination.height});
  const graphene_point_t corner{space_.origin.x + static_cast<float>(destination.x),
                                space_.origin.y + static_cast<float>(destination.y)};
  const graphene_rect_t whole = wholeBitmap(*bitmap, drawing.source, destination);
  GdkTexture* const texture = textures_.of(bitmap);
  const bool clipped = !graphene_rect_contains_rect(&visible, &whole);

  gtk_snapshot_save(snapshot_);
  gtk_snapshot_translate(snapshot_, &corner);
  if (drawing.upsideDown) {
    const graphene_point_t lower{0, visible.size.height};
    gtk_snapshot_translate(snapshot_, &lower);
    gtk_snapshot_scale(snapshot_, 1, -1);
  }
  if (drawing.fraction < 1.0) gtk_snapshot_push_opacity(snapshot_, drawing.fraction);
  if (clipped) gtk_snapshot_push_clip(snapshot_, &visible);
  gtk_snapshot_append_texture(snapshot_, texture, &whole);
  if (clipped) gtk_snapshot_pop(snapshot_);
  if (drawing.fraction < 1.0) gtk_snapshot_pop(snapshot_);
  gtk_snapshot_restore(snapshot_);
}

void NotingTarget::replay(platform::DrawingTarget& target, double height) const {
  for (const auto& [bitmap, noted] : noted_) {
    platform::BitmapDrawing drawing = noted;
    drawing.destination.y = height - noted.destination.y - noted.destination.height;
    target.drawBitmap(bitmap, drawing);
  }
}

}  // namespace wevora::nautilus
