#include "Hosts/Common/RecordingTarget.h"

#include <algorithm>

namespace wevora::hosts {

bool RecordingTarget::isWithin(const platform::Size& size) const noexcept {
  return std::ranges::all_of(recorded_, [&](const Recorded& recorded) {
    const auto& rect = recorded.drawing.destination;
    return rect.x >= 0 && rect.y >= 0 && rect.x + rect.width <= size.width &&
           rect.y + rect.height <= size.height;
  });
}

void RecordingTarget::replay(platform::DrawingTarget& target, double height) const {
  for (const auto& [bitmap, recorded] : recorded_) {
    platform::BitmapDrawing drawing = recorded;
    drawing.destination.y = height - recorded.destination.y - recorded.destination.height;
    target.drawBitmap(bitmap, drawing);
  }
}

}  // namespace wevora::hosts
