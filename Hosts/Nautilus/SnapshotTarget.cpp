#include "Hosts/Nautilus/SnapshotTarget.h"

namespace wevora::nautilus {

void SnapshotTarget::drawBitmap(const platform::BitmapRef& bitmap,
                                const platform::BitmapDrawing& drawing) {
  const CachedTexture& cached = textures_.of(bitmap, drawing, space_.deviceScale);
  if (!cached.texture) return;
  const auto at = [](float origin, double offset) { return origin + static_cast<float>(offset); };
  const graphene_rect_t rect{
      {at(space_.origin.x, drawing.destination.x + cached.part.x),
       at(space_.origin.y, drawing.destination.y + cached.part.y)},
      {static_cast<float>(cached.part.width), static_cast<float>(cached.part.height)}};
  if (drawing.fraction < 1.0) gtk_snapshot_push_opacity(snapshot_, drawing.fraction);
  append(cached, rect);
  if (drawing.fraction < 1.0) gtk_snapshot_pop(snapshot_);
}

void SnapshotTarget::append(const CachedTexture& cached, const graphene_rect_t& rect) {
  if (space_.hasHardware) {
    gtk_snapshot_append_texture(snapshot_, cached.texture.get(), &rect);
    return;
  }
  gtk_snapshot_save(snapshot_);
  gtk_snapshot_translate(snapshot_, &rect.origin);
  gtk_snapshot_append_node(snapshot_, cached.cairoNode.get());
  gtk_snapshot_restore(snapshot_);
}

// The clip is skipped if it has no effect, which is nearly always.
void SnapshotTarget::drawRecorded(const hosts::RecordingTarget& recording,
                                  const platform::Size& size) {
  if (recording.isWithin(size)) return recording.replay(*this, size.height);
  const graphene_rect_t edges{space_.origin,
                              {static_cast<float>(size.width), static_cast<float>(size.height)}};
  gtk_snapshot_push_clip(snapshot_, &edges);
  recording.replay(*this, size.height);
  gtk_snapshot_pop(snapshot_);
}

}  // namespace wevora::nautilus
