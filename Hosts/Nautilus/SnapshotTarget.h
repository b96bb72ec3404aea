#pragma once

#include <gtk/gtk.h>
#include <vector>

#include "Hosts/Nautilus/Textures.h"
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
  };
  SnapshotTarget(GtkSnapshot* snapshot, Textures& textures, const Space& space)
      : snapshot_(snapshot), textures_(textures), space_(space) {}

  double deviceScale() const override { return space_.deviceScale; }
  bool isFlipped() const override { return true; }
  void drawBitmap(const platform::BitmapRef& bitmap,
                  const platform::BitmapDrawing& drawing) override;
  void save() override { gtk_snapshot_save(snapshot_); }
  void restore() override { gtk_snapshot_restore(snapshot_); }

 private:
  GtkSnapshot* const snapshot_;
  Textures& textures_;
  const Space space_;
};

/// Notes what is drawn into it, for a later frame. Its y grows upwards.
/// Threads: the main thread. Owns: shares of the bitmaps. Errors: none.
class NotingTarget : public platform::DrawingTarget {
 public:
  explicit NotingTarget(double deviceScale) : deviceScale_(deviceScale) {}

  double deviceScale() const override { return deviceScale_; }
  bool isFlipped() const override { return false; }
  void drawBitmap(const platform::BitmapRef& bitmap,
                  const platform::BitmapDrawing& drawing) override {
    noted_.push_back({bitmap, drawing});
  }
  void save() override {}
  void restore() override {}

  /// Draws it all; the target's y grows downwards, and so high is what was drawn into.
  void replay(platform::DrawingTarget& target, double height) const;

 private:
  struct Noted {
    platform::BitmapRef bitmap;
    platform::BitmapDrawing drawing;
  };
  const double deviceScale_;
  std::vector<Noted> noted_;
};

}  // namespace wevora::nautilus
