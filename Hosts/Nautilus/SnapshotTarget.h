#pragma once

#include <gtk/gtk.h>

#include "Hosts/Common/RecordingTarget.h"
#include "Hosts/Nautilus/TextureCache.h"
#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::nautilus {

/// Draws into a GtkSnapshot, the frame that the host is composing. A snapshot supports no operation
/// other than SourceOver.
/// Thread-safety: main thread only.
/// Ownership: snapshot and texture cache must outlive it.
class SnapshotTarget : public platform::DrawingTarget {
 public:
  /// The target's coordinate space: its origin in the snapshot; y grows downwards.
  struct Space {
    graphene_point_t origin{};
    double deviceScale = 1.0;
    bool hasHardware = true;  ///< whether a GPU renders the frame, not cairo
  };
  SnapshotTarget(GtkSnapshot* snapshot, TextureCache& textures, const Space& space)
      : snapshot_(snapshot), textures_(textures), space_(space) {}

  double deviceScale() const override { return space_.deviceScale; }
  bool isFlipped() const override { return true; }
  void drawBitmap(const platform::BitmapRef& bitmap,
                  const platform::BitmapDrawing& drawing) override;
  /// Replays what was drawn into an image of this size at the target's origin, clipped to the
  /// image.
  void drawRecorded(const hosts::RecordingTarget& recording, const platform::Size& size);
  void save() override { gtk_snapshot_save(snapshot_); }
  void restore() override { gtk_snapshot_restore(snapshot_); }

 private:
  void append(const CachedTexture& cached, const graphene_rect_t& rect);

  GtkSnapshot* const snapshot_;
  TextureCache& textures_;
  const Space space_;
};

}  // namespace wevora::nautilus
