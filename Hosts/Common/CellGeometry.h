#pragma once

#include "Platform/Graphics/Geometry.h"

namespace wevora::hosts {

/// Computes the badge position in a list view: the row frame that a host passes to
/// `drawIconWithFrame:`, and the origin of that row in the cell.
///
/// WVIconCell derives the badge's frame from the row frame: a square whose left edge is 10 points
/// from x = 0 and which is vertically centred; its side is 32 points if the frame is higher than 32
/// points, otherwise 16. `listRowAround` chooses the row so that this square has the lower left
/// corner of the icon. In icon views the badge is drawn into the icon's own image instead (see
/// IconViewOverlay), and no row is needed.
struct ListRow {
  platform::Rect frame;  ///< in the row's own coordinates; y grows downwards
  double x = 0;          ///< the row's origin in the cell's coordinates
  double y = 0;
};

/// `icon` is the icon's frame in the cell's coordinates; y grows downwards.

inline ListRow listRowAround(const platform::Rect& icon, double cellWidth) {
  constexpr double kInset = 10;
  constexpr double kMargin = 4;  // above and below the square
  const double side = icon.width >= 32 || icon.height >= 32 ? 32 : 16;
  return {.frame = {0, 0, cellWidth, side + 2 * kMargin},
          .x = icon.x - kInset,
          .y = icon.y + icon.height - side - kMargin};
}

}  // namespace wevora::hosts
