#pragma once

#include "Platform/Graphics/Geometry.h"

namespace wevora::hosts {

/// The row that a list cell is drawn in, as the bundle is told of it. The bundle paints a square
/// into its rows: 10 points from where x is 0, half-way down, of 32 points in a row of more than 32
/// and else of 16. The row is laid out around the icon so that this square has the icon's lower
/// left corner.
/// Threads: a value. Owns: nothing. Errors: none.
struct ListRow {
  platform::Rect frame;  ///< in the row's own coordinates, y growing downwards
  double x = 0;          ///< the row's origin in the cell's coordinates
  double y = 0;
};

inline ListRow listRowAround(const platform::Rect& icon, double cellWidth) {
  constexpr double kInset = 10;
  constexpr double kMargin = 4;  // above and below the square
  const double side = icon.width >= 32 || icon.height >= 32 ? 32 : 16;
  return {.frame = {0, 0, cellWidth, side + 2 * kMargin},
          .x = icon.x - kInset,
          .y = icon.y + icon.height - side - kMargin};
}

}  // namespace wevora::hosts
