#include "Hosts/Nautilus/SnapshotTarget.h"

namespace wevora::nautilus {
void SnapshotTarget::drawBitmap(const platform::BitmapRef& bitmap,
                                const platform::BitmapDrawing& drawing) {
  const Piece& piece = textures_.of(bitmap, drawing, space_.deviceScale);
  if (!piece.texture) return;
  const auto at = [](float origin, double offset) { return origin + static_cast<float>(offset); };
  const graphene_rect_t rect{
      {at(space_.origin.x, drawing.destination.x + piece.part.x),
       at(space_.origin.y, drawing.destination.y + piece.part.y)},
      {static_cast<float>(piece.part.width), static_cast<float>(piece.part.height)}};
  if (drawing.fraction < 1.0) gtk_snapshot_push_opacity(snapshot_, drawing.fraction);
  gtk_snapshot_append_texture(snapshot_, piece.texture.get(), &rect);
  if (drawing.fraction < 1.0) gtk_snapshot_pop(snapshot_);
}

void NotingTarget::replay(platform::DrawingTarget& target, double height) const {
  for (const auto& [bitmap, noted] : noted_) {
    platform::BitmapDrawing drawing = noted;
    drawing.destination.y = height - noted.destination.y - noted.destination.height;
    target.drawBitmap(bitmap, drawing);
  }
}

}  // namespace wevora::nautilus
