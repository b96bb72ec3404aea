#include "Hosts/Common/NotingTarget.h"

namespace wevora::hosts {

void NotingTarget::replay(platform::DrawingTarget& target, double height) const {
  for (const auto& [bitmap, noted] : noted_) {
    platform::BitmapDrawing drawing = noted;
    drawing.destination.y = height - noted.destination.y - noted.destination.height;
    target.drawBitmap(bitmap, drawing);
  }
}

}  // namespace wevora::hosts
