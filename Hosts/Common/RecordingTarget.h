#pragma once

#include <vector>

#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::hosts {

/// Records what is drawn into it, to be replayed into a host's frame. Its y grows upwards.
class RecordingTarget : public platform::DrawingTarget {
 public:
  explicit RecordingTarget(double deviceScale) : deviceScale_(deviceScale) {}

  double deviceScale() const override { return deviceScale_; }
  bool isFlipped() const override { return false; }
  void drawBitmap(const platform::BitmapRef& bitmap,
                  const platform::BitmapDrawing& drawing) override {
    recorded_.push_back({bitmap, drawing});
  }
  void save() override {}
  void restore() override {}

  /// Whether all recorded drawings lie within an area of this size.
  bool isWithin(const platform::Size& size) const noexcept;
  /// Draws the recording into a target whose y grows downwards. `height` is that of the recorded
  /// area, needed to flip y.
  void replay(platform::DrawingTarget& target, double height) const;

 private:
  struct Recorded {
    platform::BitmapRef bitmap;
    platform::BitmapDrawing drawing;
  };
  const double deviceScale_;
  std::vector<Recorded> recorded_;
};

}  // namespace wevora::hosts
