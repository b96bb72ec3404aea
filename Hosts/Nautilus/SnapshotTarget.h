#pragma once

#include <gtk/gtk.h>

#include "Hosts/Common/RecordingTarget.h"
#include "Hosts/Nautilus/TextureCache.h"
#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::nautilus {

/// Draws into a frame that the host is putting together. What is there stays beneath: a frame knows
/// no other operation than covering.
/// Threads: the main thread. Owns: nothing; snapshot and textures outlive it. Errors: none.
class SnapshotTarget : public platform::DrawingTarget {
 public:
  /// Where the target's coordinates lie in the snapshot's; y grows downwards.
  struct Space {
    graphene_point_t origin{};
    double deviceScale = 1.0;
    bool hasHardware = true;  ///< draws the frame
  };
  SnapshotTarget(GtkSnapshot* snapshot, TextureCache& textures, const Space& space)
      : snapshot_(snapshot), textures_(textures), space_(space) {}

  double deviceScale() const override { return space_.deviceScale; }
  bool isFlipped() const override { return true; }
  void drawBitmap(const platform::BitmapRef& bitmap,
                  const platform::BitmapDrawing& drawing) override;
  /// What was drawn into an image of that size, which lies at the target's origin and ends at its
  /// edges, as any image does.
  void drawRecorded(const hosts::RecordingTarget& noted, const platform::Size& size);
  void save() override { gtk_snapshot_save(snapshot_); }
  void restore() override { gtk_snapshot_restore(snapshot_); }

 private:
  void append(const CachedTexture& piece, const graphene_rect_t& rect);

  GtkSnapshot* const snapshot_;
  TextureCache& textures_;
  const Space space_;
};

}  // namespace wevora::nautilus
