#include "Hosts/Common/RecordingTarget.h"

#include <algorithm>

namespace wevora::hosts {

bool RecordingTarget::isWithin(const platform::Size& size) const noexcept {
  return std::ranges::all_of(noted_, [&](const Noted& noted) {
    const auto& place = noted.drawing.destination;
    return place.x >= 0 && place.y >= 0 && place.x + place.width <= size.width &&
           place.y + place.height <= size.height;
  });
}

void RecordingTarget::replay(platform::DrawingTarget& target, double height) const {
  for (const auto& [bitmap, noted] : noted_) {
    platform::BitmapDrawing drawing = noted;
    drawing.destination.y = height - noted.destination.y - noted.destination.height;
    target.drawBitmap(bitmap, drawing);
  }
}

}  // namespace wevora::hosts
