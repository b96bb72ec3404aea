#include "FinderIntegration/finder_bundle/WVIconCell.h"

#include <gtest/gtest.h>

#include "Tests/PictureHost/BadgedHost.h"

namespace wevora {
namespace {

using platform::Implementation;
using platform::send;
using testing_host::BadgedHost;
using testing_host::BadgePlacement;
using testing_host::hasBadgePixels;
using testing_host::kBlue;
using testing_host::kGreen;
using testing_host::kRed;
using testing_host::PictureHost;

constexpr double kX = 50;  // of a frame; the badge does not depend on it
constexpr double kY = 20;

class IconCellTest : public testing::Test {
 protected:
  IconCellTest() {
    badged.load();
    badged.settle();
  }
  platform::BitmapRef drawn(const std::string& name, double height,
                            const char* className = "TListViewIconAndTextCell") {
    return host.draw(host.makeListCell(badged.item(name), className), {kX, kY, 60, height});
  }
  static std::optional<BadgePlacement> placement(const platform::BitmapRef& bitmap,
                                                 const testing_host::Halves& picture = kGreen) {
    return testing_host::findBadge(*bitmap, picture, PictureHost::kPixelsPerPoint);
  }
  BadgedHost badged;
  PictureHost& host = badged.host;
};

struct Row {
  double height;
  double y;
  double side;  ///< 0: no badge
};

class RowTest : public IconCellTest, public testing::WithParamInterface<Row> {
 protected:
  static std::optional<BadgePlacement> expected(double x) {
    const Row row = GetParam();
    if (row.side == 0) return std::nullopt;
    return BadgePlacement{{x, row.y, row.side, row.side}, true};
  }
};

TEST_P(RowTest, AListRowHasItsBadgeVerticallyCentredTenPointsFromTheLeftEdge) {
  const auto bitmap = drawn("green", GetParam().height);
  EXPECT_EQ(placement(bitmap), expected(10));
  EXPECT_EQ(hasBadgePixels(*bitmap, kGreen), GetParam().side > 0);
}

TEST_P(RowTest, AColumnRowHasItsBadgeVerticallyCentredSixPointsFromTheLeftEdge) {
  EXPECT_EQ(placement(drawn("green", GetParam().height, "TColumnCell")), expected(6));
}

std::string nameOf(const testing::TestParamInfo<Row>& row) {
  return "Of" + std::to_string(static_cast<int>(row.param.height)) + "Points";
}

INSTANTIATE_TEST_SUITE_P(Heights, RowTest,
                         testing::Values(Row{8, 0, 0}, Row{9, 16.5, 16}, Row{20, 22, 16},
                                         Row{32, 28, 16}, Row{33, 20.5, 32}, Row{40, 24, 32}),
                         nameOf);

TEST_F(IconCellTest, EveryWordHasItsBadge) {
  EXPECT_TRUE(placement(drawn("green", 20), kGreen));
  EXPECT_TRUE(placement(drawn("blue", 20), kBlue));
  EXPECT_TRUE(placement(drawn("red", 20), kRed));
}

TEST_F(IconCellTest, TheHostDrawsItsIconFirstAndOnce) {
  const auto cell = host.makeListCell(badged.item("green"));
  host.draw(cell, {0, kY, 60, 20});
  EXPECT_EQ(cell->calls, std::vector<std::string>{"drawIconWithFrame:"});
}

TEST_F(IconCellTest, TheBadgeCoversTheHostsIcon) {
  const auto cell = host.makeListCell(badged.item("green"));
  EXPECT_EQ(placement(host.draw(cell, {0, kY, 60, 40})), (BadgePlacement{{10, 24, 32, 32}, true}));
}

TEST_F(IconCellTest, TheBadgeIsLeftFlipped) {
  badged.engine.provider->images().greenImageFlipped->setFlipped(false);
  drawn("green", 20);
  EXPECT_TRUE(badged.engine.provider->images().greenImageFlipped->isFlipped());
}

TEST_F(IconCellTest, TheBadgeIsLeftFlippedByARowThatIsTooLowForIt) {
  badged.engine.provider->images().greenImageFlipped->setFlipped(false);
  EXPECT_FALSE(hasBadgePixels(*drawn("green", 8), kGreen));
  EXPECT_TRUE(badged.engine.provider->images().greenImageFlipped->isFlipped());
}

TEST_F(IconCellTest, ACellWithoutAThumbnailGetsTheUnflippedBadgeAsItsThumbnailAndIsDrawnAgain) {
  const auto cell = host.makeListCell(badged.item("green"));
  cell->thumbnail = nullptr;
  const auto bitmap = host.draw(cell, {kX, kY, 60, 32});
  EXPECT_EQ(cell->calls, (std::vector<std::string>{
                             "drawIconWithFrame:", "setThumbnail:", "drawIconWithFrame:"}));
  EXPECT_EQ(cell->thumbnail, badged.engine.provider->images().greenImageFlipped);
  EXPECT_FALSE(cell->thumbnail->isFlipped());
  ASSERT_TRUE(placement(bitmap));
  EXPECT_EQ(placement(bitmap)->frame, (Rect{kX, kY, 32, 32})) << "where the host draws thumbnails";
}

TEST_F(IconCellTest, ACellWithoutAThumbnailAndBadgeGetsANullThumbnailAndIsDrawnAgain) {
  const auto cell = host.makeListCell(badged.item("plain"));
  cell->thumbnail = nullptr;
  host.draw(cell, {kX, kY, 60, 32});
  EXPECT_EQ(cell->calls, (std::vector<std::string>{
                             "drawIconWithFrame:", "setThumbnail:", "drawIconWithFrame:"}));
  EXPECT_EQ(cell->thumbnail, nullptr);
}

TEST_F(IconCellTest, TheSecondDrawingBypassesOverridesInSubclasses) {
  int own = 0;
  const auto special = host.runtime().registerClass(
      "TSpecialCell", host.classNamed("TListViewIconAndTextCell").get());
  special->addMethod(
      "wv_drawIconWithFrame:", Implementation::of<void(Rect)>([&](const Id&, Rect) { ++own; }),
      "v@:{CGRect={CGPoint=dd}{CGSize=dd}}");
  const auto like = host.makeListCell(badged.item("green"));
  const auto cell = std::make_shared<testing_host::ListCell>(*special);
  cell->node = like->node;
  host.draw(cell, {kX, kY, 60, 32});
  EXPECT_EQ(own, 1) << "only in the host's first drawing";
  EXPECT_EQ(cell->calls, (std::vector<std::string>{"setThumbnail:", "drawIconWithFrame:"}));
}

TEST_F(IconCellTest, AnItemWithoutABadgeIsDrawnUnchanged) {
  const auto bitmap = drawn("plain", 32);
  for (const auto& picture : {kGreen, kBlue, kRed}) EXPECT_FALSE(hasBadgePixels(*bitmap, picture));
}

TEST_F(IconCellTest, WithBadgesOffNothingIsPainted) {
  badged.engine.provider->setTurnedOn(false);
  EXPECT_FALSE(hasBadgePixels(*drawn("green", 32), kGreen));
}

TEST_F(IconCellTest, TheMethodsAreAddedWithTheirTypeEncodings) {
  EXPECT_EQ(host.classNamed("TListViewIconAndTextCell")
                ->instanceMethod("wv_drawIconWithFrame:")
                ->typeEncoding,
            "v@:{CGRect={CGPoint=dd}{CGSize=dd}}");
  EXPECT_EQ(host.classNamed("NSCGImageSnapshotRep")->instanceMethod("scaleFactor")->typeEncoding,
            "d@:v");
}

TEST_F(IconCellTest, ImageSnapshotsHaveAScaleFactorOfOne) {
  const Id snapshot = std::make_shared<platform::Object>(*host.classNamed("NSCGImageSnapshotRep"));
  EXPECT_DOUBLE_EQ(send<double>(snapshot, "scaleFactor"), 1.0);
}

/// Whether the drawing and the scale are installed.
std::pair<bool, bool> installedIn(PictureHost& host) {
  const auto has = [&](const char* className, const char* selector) {
    const auto owner = host.classNamed(className);
    return owner && owner->instanceMethod(selector);
  };
  return {has("TListViewIconAndTextCell", "wv_drawIconWithFrame:"),
          has("NSCGImageSnapshotRep", "scaleFactor")};
}

TEST(IconCellLoadTest, LoadHackAloneAddsTheScaleAndReplacesNothing) {
  BadgedHost badged;
  WVIconCell(badged.host.runtime(), badged.providerAccess()).loadHack();
  EXPECT_EQ(installedIn(badged.host), (std::pair{false, true}));
}

TEST(IconCellLoadTest, LoadReplacesTheDrawingAndAddsTheScaleOnce) {
  BadgedHost badged;
  WVIconCell cells(badged.host.runtime(), badged.providerAccess());
  cells.load();
  EXPECT_EQ(installedIn(badged.host), (std::pair{true, true}));
  const auto scale = [&] {
    return badged.host.classNamed("NSCGImageSnapshotRep")
        ->instanceMethod("scaleFactor")
        ->implementation;
  };
  const auto first = scale();
  cells.loadHack();
  EXPECT_EQ(scale(), first);
}

TEST(IconCellMissingTest, WithoutListCellsSnapshotsHaveTheirScaleAndColumnsAreDrawnUnchanged) {
  auto classes = PictureHost::Classes();
  classes.listCells = false;
  BadgedHost badged(classes);
  badged.load();
  badged.settle();
  EXPECT_EQ(installedIn(badged.host), (std::pair{false, true}));
  const auto cell = badged.host.makeListCell(badged.item("green"), "TColumnCell");
  EXPECT_FALSE(hasBadgePixels(*badged.host.draw(cell, {kX, kY, 60, 20}), kGreen));
  EXPECT_EQ(cell->calls, std::vector<std::string>{"drawIconWithFrame:"});
}

TEST(IconCellMissingTest, WithoutSnapshotsListRowsHaveTheirBadges) {
  auto classes = PictureHost::Classes();
  classes.snapshots = false;
  BadgedHost badged(classes);
  badged.load();
  badged.settle();
  EXPECT_EQ(installedIn(badged.host), (std::pair{true, false}));
  const auto cell = badged.host.makeListCell(badged.item("green"));
  EXPECT_TRUE(hasBadgePixels(*badged.host.draw(cell, {kX, kY, 60, 20}), kGreen));
}

TEST(IconCellMissingTest, SnapshotsWithTheirOwnScaleKeepIt) {
  BadgedHost badged;
  const auto snapshots = badged.host.classNamed("NSCGImageSnapshotRep");
  snapshots->addMethod("scaleFactor", Implementation::of<double()>([](const Id&) { return 3.0; }),
                       "d@:");
  badged.load();
  EXPECT_DOUBLE_EQ(send<double>(std::make_shared<platform::Object>(*snapshots), "scaleFactor"),
                   3.0);
}

TEST(IconCellMissingTest, WithoutColumnCellsListRowsHaveTheirBadges) {
  auto classes = PictureHost::Classes();
  classes.columnCells = false;
  BadgedHost badged(classes);
  badged.load();
  badged.settle();
  const auto bitmap =
      badged.host.draw(badged.host.makeListCell(badged.item("green")), {kX, kY, 60, 20});
  EXPECT_EQ(testing_host::findBadge(*bitmap, kGreen, PictureHost::kPixelsPerPoint),
            (BadgePlacement{{10, 22, 16, 16}, true}));
}

TEST(IconCellMissingTest, AClassThatAlreadyHasTheNewMethodHasItsMethodsExchanged) {
  BadgedHost badged;
  int own = 0;
  badged.host.classNamed("TListViewIconAndTextCell")
      ->addMethod("wv_drawIconWithFrame:",
                  Implementation::of<void(Rect)>([&](const Id&, Rect) { ++own; }), "v@:");
  badged.load();
  const auto cell = badged.host.makeListCell(badged.item("green"));
  badged.host.draw(cell, {kX, kY, 60, 20});
  EXPECT_EQ(own, 1);
  EXPECT_TRUE(cell->calls.empty());
  send<void>(cell, "wv_drawIconWithFrame:", Rect{kX, kY, 60, 20});
  EXPECT_EQ(cell->calls, std::vector<std::string>{"drawIconWithFrame:"});
}

TEST(IconCellMissingTest, ACellWithoutTheExpectedMethodsIsDrawnUnchanged) {
  BadgedHost badged;
  badged.load();
  const auto stranger = badged.host.runtime().registerClass("TStranger", nullptr);
  stranger->addMethod(
      "wv_drawIconWithFrame:", Implementation::of<void(Rect)>([](const Id&, Rect) {}), "v@:");
  stranger->addMethod("drawIconWithFrame:",
                      badged.host.classNamed("TListViewIconAndTextCell")
                          ->instanceMethod("drawIconWithFrame:")
                          ->implementation,
                      "v@:");
  const Id strange = std::make_shared<platform::Object>(*stranger);
  EXPECT_NO_THROW(send<void>(strange, "drawIconWithFrame:", Rect{0, 0, 10, 20}));
}

// In the shared runtime, as the class is looked up once per process, on first use.
TEST(IconCellPathTest, PathForNodeIsTheURLOfTheNodeThatTheHostHasForTheReference) {
  const auto nodes = platform::Runtime::shared().registerClass("FINode");
  ASSERT_TRUE(nodes);
  Id node = std::make_shared<platform::Object>(*nodes);
  nodes->addClassMethod(
      "nodeFromNodeRef:", Implementation::of<Id(TFENode)>([&](const Id&, TFENode reference) {
        return reference.fNodeRef == node.get() ? node : nullptr;
      }),
      "@@:^v");
  nodes->addMethod("previewItemURL", Implementation::of<std::optional<ItemURL>()>([](const Id&) {
                     return std::optional(ItemURL("/a/b"));
                   }),
                   "@@:");
  const TFENode reference{node.get()};
  EXPECT_EQ(WVIconCell::pathForNode(&reference), ItemURL("/a/b"));
  const TFENode other;
  EXPECT_EQ(WVIconCell::pathForNode(&other), std::nullopt);
  EXPECT_EQ(WVIconCell::pathForNode(nullptr), std::nullopt);
}

}  // namespace
}  // namespace wevora
