#include "Hosts/Common/CellGeometry.h"

#include <gtest/gtest.h>

namespace wevora::hosts {
namespace {

using platform::Rect;

/// Where the bundle paints in a row: a square 10 points from its left edge, half-way down.
Rect squareIn(const ListRow& row) {
  const double side = row.frame.height > 32 ? 32 : 16;
  return {row.x + row.frame.x + 10, row.y + row.frame.y + (row.frame.height - side) / 2, side,
          side};
}

void expectSquare(const Rect& square, const Rect& wanted) {
  EXPECT_EQ(square.x, wanted.x);
  EXPECT_EQ(square.y, wanted.y);
  EXPECT_EQ(square.width, wanted.width);
  EXPECT_EQ(square.height, wanted.height);
}

TEST(CellGeometryTest, TheSquareIsTheIconWhereTheIconHas16Or32Points) {
  for (const double side : {16.0, 32.0}) {
    const Rect icon{20, 7, side, side};
    expectSquare(squareIn(listRowAround(icon, 300)), icon);
  }
}

TEST(CellGeometryTest, TheSquareHasTheLowerLeftCornerOfALargerIcon) {
  expectSquare(squareIn(listRowAround({20, 7, 64, 64}, 300)), {20, 39, 32, 32});
  expectSquare(squareIn(listRowAround({20, 7, 24, 24}, 300)), {20, 15, 16, 16});
}

TEST(CellGeometryTest, AnIconThatIs32PointsOnOneSideHasTheLargeSquare) {
  expectSquare(squareIn(listRowAround({0, 0, 32, 20}, 300)), {0, -12, 32, 32});
  expectSquare(squareIn(listRowAround({0, 0, 20, 32}, 300)), {0, 0, 32, 32});
}

TEST(CellGeometryTest, AnIconOfLessThan32PointsHasTheSmallSquare) {
  expectSquare(squareIn(listRowAround({0, 0, 31, 31}, 300)), {0, 15, 16, 16});
  expectSquare(squareIn(listRowAround({0, 0, 12, 8}, 300)), {0, -8, 16, 16});
}

TEST(CellGeometryTest, TheRowIsAsWideAsTheCell) {
  EXPECT_EQ(listRowAround({20, 7, 16, 16}, 123).frame.width, 123);
}

TEST(CellGeometryTest, TheRowBeginsAtItsOwnOrigin) {
  const auto row = listRowAround({20, 7, 16, 16}, 300);
  EXPECT_EQ(row.frame.x, 0);
  EXPECT_EQ(row.frame.y, 0);
}

}  // namespace
}  // namespace wevora::hosts
