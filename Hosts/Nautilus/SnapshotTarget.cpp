#include "Hosts/Nautilus/SnapshotTarget.h"

namespace wevora::nautilus {

void SnapshotTarget::drawBitmap(const platform::BitmapRef& bitmap,
                                const platform::BitmapDrawing& drawing) {
  const CachedTexture& piece = textures_.of(bitmap, drawing, space_.deviceScale);
  if (!piece.texture) return;
  const auto at = [](float origin, double offset) { return origin + static_cast<float>(offset); };
  const graphene_rect_t rect{
      {at(space_.origin.x, drawing.destination.x + piece.part.x),
       at(space_.origin.y, drawing.destination.y + piece.part.y)},
      {static_cast<float>(piece.part.width), static_cast<float>(piece.part.height)}};
  if (drawing.fraction < 1.0) gtk_snapshot_push_opacity(snapshot_, drawing.fraction);
  append(piece, rect);
  if (drawing.fraction < 1.0) gtk_snapshot_pop(snapshot_);
}

void SnapshotTarget::append(const CachedTexture& piece, const graphene_rect_t& rect) {
  if (space_.hasHardware) {
    gtk_snapshot_append_texture(snapshot_, piece.texture.get(), &rect);
    return;
  }
  gtk_snapshot_save(snapshot_);
  gtk_snapshot_translate(snapshot_, &rect.origin);
  gtk_snapshot_append_node(snapshot_, piece.recorded.get());
  gtk_snapshot_restore(snapshot_);
}

// Nearly always all lies within the edges, and nothing has to be clipped.
void SnapshotTarget::drawRecorded(const hosts::RecordingTarget& noted, const platform::Size& size) {
  if (noted.isWithin(size)) return noted.replay(*this, size.height);
  const graphene_rect_t edges{space_.origin,
                              {static_cast<float>(size.width), static_cast<float>(size.height)}};
  gtk_snapshot_push_clip(snapshot_, &edges);
  noted.replay(*this, size.height);
  gtk_snapshot_pop(snapshot_);
}

}  // namespace wevora::nautilus
