#include "Hosts/Common/CellGeometry.h"

#include <gtest/gtest.h>

namespace wevora::hosts {
namespace {

using platform::Rect;

/// The badge's frame in a row, as the bundle computes it.
Rect badgeIn(const ListRow& row) {
  const double side = row.frame.height > 32 ? 32 : 16;
  return {row.x + row.frame.x + 10, row.y + row.frame.y + (row.frame.height - side) / 2, side,
          side};
}

void expectRect(const Rect& actual, const Rect& expected) {
  EXPECT_EQ(actual.x, expected.x);
  EXPECT_EQ(actual.y, expected.y);
  EXPECT_EQ(actual.width, expected.width);
  EXPECT_EQ(actual.height, expected.height);
}

TEST(CellGeometryTest, TheBadgeCoversAnIconOf16Or32Points) {
  for (const double side : {16.0, 32.0}) {
    const Rect icon{20, 7, side, side};
    expectRect(badgeIn(listRowAround(icon, 300)), icon);
  }
}

TEST(CellGeometryTest, TheBadgeHasTheLowerLeftCornerOfALargerIcon) {
  expectRect(badgeIn(listRowAround({20, 7, 64, 64}, 300)), {20, 39, 32, 32});
  expectRect(badgeIn(listRowAround({20, 7, 24, 24}, 300)), {20, 15, 16, 16});
}

TEST(CellGeometryTest, AnIconWithASideOf32PointsHasTheLargeBadge) {
  expectRect(badgeIn(listRowAround({0, 0, 32, 20}, 300)), {0, -12, 32, 32});
  expectRect(badgeIn(listRowAround({0, 0, 20, 32}, 300)), {0, 0, 32, 32});
}

TEST(CellGeometryTest, AnIconOfLessThan32PointsHasTheSmallBadge) {
  expectRect(badgeIn(listRowAround({0, 0, 31, 31}, 300)), {0, 15, 16, 16});
  expectRect(badgeIn(listRowAround({0, 0, 12, 8}, 300)), {0, -8, 16, 16});
}

TEST(CellGeometryTest, TheRowIsAsWideAsTheCell) {
  EXPECT_EQ(listRowAround({20, 7, 16, 16}, 123).frame.width, 123);
}

TEST(CellGeometryTest, TheRowFrameStartsAtItsOrigin) {
  const auto row = listRowAround({20, 7, 16, 16}, 300);
  EXPECT_EQ(row.frame.x, 0);
  EXPECT_EQ(row.frame.y, 0);
}

}  // namespace
}  // namespace wevora::hosts
