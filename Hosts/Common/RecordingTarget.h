#pragma once

#include <vector>

#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::hosts {

/// Notes what is drawn into it, for a later frame. Its y grows upwards.
/// Threads: the main thread. Owns: shares of the bitmaps. Errors: none.
class RecordingTarget : public platform::DrawingTarget {
 public:
  explicit RecordingTarget(double deviceScale) : deviceScale_(deviceScale) {}

  double deviceScale() const override { return deviceScale_; }
  bool isFlipped() const override { return false; }
  void drawBitmap(const platform::BitmapRef& bitmap,
                  const platform::BitmapDrawing& drawing) override {
    noted_.push_back({bitmap, drawing});
  }
  void save() override {}
  void restore() override {}

  /// Whether nothing reaches beyond what was drawn into, which has this size.
  bool isWithin(const platform::Size& size) const noexcept;
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

}  // namespace wevora::hosts
