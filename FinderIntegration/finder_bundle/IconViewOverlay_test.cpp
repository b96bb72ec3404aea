#include "FinderIntegration/finder_bundle/IconViewOverlay.h"

#include <gtest/gtest.h>

#include "Tests/PictureFiles/PictureFiles.h"
#include "Tests/PictureHost/BadgedHost.h"

namespace wevora {
namespace {

using platform::send;
using testing_host::BadgedHost;
using testing_host::BadgePlacement;
using testing_host::findBadge;
using testing_host::hasBadgePixels;
using testing_host::kBlue;
using testing_host::kGreen;
using testing_host::kRed;
using testing_host::PictureHost;

class IconViewOverlayTest : public testing::Test {
 protected:
  IconViewOverlayTest() {
    badged.load();
    badged.settle();
  }
  platform::BitmapRef drawn(const std::string& name, platform::Size size,
                            const char* className = "IKIconCell") {
    return host.draw(host.makeIconCell(badged.item(name), size, className));
  }
  BadgedHost badged;
  PictureHost& host = badged.host;
};

TEST_F(IconViewOverlayTest, TheBadgeCoversTheWholeOfASquareIcon) {
  EXPECT_EQ(findBadge(*drawn("green", {64, 64}), kGreen), (BadgePlacement{{0, 0, 64, 64}, true}));
  EXPECT_EQ(findBadge(*drawn("blue", {32, 32}), kBlue), (BadgePlacement{{0, 0, 32, 32}, true}));
  EXPECT_EQ(findBadge(*drawn("red", {128, 128}), kRed), (BadgePlacement{{0, 0, 128, 128}, true}));
}

TEST_F(IconViewOverlayTest, AnImageOf128By64GetsItsBadgeInASquareOfItsHeight) {
  EXPECT_EQ(findBadge(*drawn("green", {128, 64}), kGreen), (BadgePlacement{{0, 0, 64, 64}, true}));
}

TEST_F(IconViewOverlayTest, AnImageTallerThanWideGetsTheLeftPartOfASquareOfItsHeight) {
  EXPECT_EQ(findBadge(*drawn("green", {32, 64}), kGreen), (BadgePlacement{{0, 0, 32, 64}, true}));
}

TEST_F(IconViewOverlayTest, ReflectiveCellsGetBadgesToo) {
  const auto cell = host.makeIconCell(badged.item("green"), {64, 64}, "IKFinderReflectiveIconCell");
  EXPECT_EQ(findBadge(*host.draw(cell), kGreen), (BadgePlacement{{0, 0, 64, 64}, true}));
  EXPECT_EQ(cell->reflections, 1) << "by the reflective cell's own drawing";
}

TEST_F(IconViewOverlayTest, TheIconIsChangedInPlaceBeforeTheHostDrawsItOnce) {
  const auto cell = host.makeIconCell(badged.item("green"), {64, 64});
  host.draw(cell);
  EXPECT_EQ(cell->drawn.size(), 1U);
  ASSERT_EQ(cell->icon->representations().size(), 1U);
  EXPECT_TRUE(hasBadgePixels(*cell->icon->representations()[0].bitmap, kGreen));
}

TEST_F(IconViewOverlayTest, OneWrapperIsMadeForEachDrawing) {
  const auto cell = host.makeIconCell(badged.item("green"), {64, 64});
  host.draw(cell);
  EXPECT_EQ(host.wrappersMade, 1);
  host.draw(cell);
  EXPECT_EQ(host.wrappersMade, 2);
}

TEST_F(IconViewOverlayTest, TheBadgeIsLeftUnflipped) {
  drawn("green", {64, 64});
  EXPECT_FALSE(badged.engine.provider->images().greenImageFlipped->isFlipped());
}

TEST_F(IconViewOverlayTest, AnItemWithoutABadgeIsDrawnUnchanged) {
  const auto bitmap = drawn("plain", {64, 64});
  for (const auto pixel : bitmap->pixels()) ASSERT_EQ(pixel, PictureHost::kGray);
}

TEST_F(IconViewOverlayTest, AnItemWithoutABadgeStillGetsANewWrapperAndOneDrawing) {
  const auto cell = host.makeIconCell(badged.item("plain"), {64, 64});
  host.draw(cell);
  EXPECT_EQ(host.wrappersMade, 1);
  EXPECT_EQ(cell->drawn.size(), 1U);
}

TEST_F(IconViewOverlayTest, AnIconWithoutABadgeIsLockedForDrawingToo) {
  const auto cell = host.makeIconCell(badged.item("plain"), {64, 64});
  const platform::ImageRep finer{
      testing_host::twoHalves(128, 128, PictureHost::kGray, PictureHost::kGray), {64, 64}};
  cell->icon->addRepresentations({&finer, 1});
  host.draw(cell);
  ASSERT_EQ(cell->icon->representations().size(), 1U) << "the representation that was drawn into";
  EXPECT_EQ(cell->icon->representations()[0].bitmap->width(), 128U);
}

TEST_F(IconViewOverlayTest, WithBadgesOffTheIconIsDrawnUnchanged) {
  badged.engine.provider->setTurnedOn(false);
  const auto bitmap = drawn("green", {64, 64});
  for (const auto pixel : bitmap->pixels()) ASSERT_EQ(pixel, PictureHost::kGray);
}

TEST_F(IconViewOverlayTest, TheDrawingOfTheFrameIsPassedThrough) {
  const auto cell = host.makeIconCell(badged.item("green"), {64, 64});
  const Id view = host.recording.makeView();
  send<void>(cell, "drawInteriorWithFrame:inView:", Rect{1, 2, 3, 4}, view);
  EXPECT_EQ(cell->frames, (std::vector<std::pair<Rect, Id>>{{Rect{1, 2, 3, 4}, view}}));
}

TEST_F(IconViewOverlayTest, TheMethodsAreAddedWithTheirTypeEncodings) {
  const auto encoding = [&](const char* className, const char* selector) {
    return host.classNamed(className)->instanceMethod(selector)->typeEncoding;
  };
  EXPECT_EQ(encoding("IKIconCell", "wv_drawImage:"), "v@:@");
  EXPECT_EQ(encoding("IKFinderReflectiveIconCell", "wv_drawImage:"), "v@:@");
  EXPECT_EQ(encoding("IKIconCell", "wv_drawWithFrame:inView:"),
            "v@:{CGRect={CGPoint=dd}{CGSize=dd}}@");
}

TEST_F(IconViewOverlayTest, TheFrameOfTheImageIsEmpty) {
  EXPECT_EQ(IconViewOverlay::imageFrame(), Rect());
}

/// Which of the three replacements are installed.
std::vector<bool> installedIn(PictureHost& host) {
  const auto has = [&](const char* className, const char* selector) {
    return host.classNamed(className)->instanceMethod(selector) != nullptr;
  };
  const auto cells = host.classNamed("IKIconCell")->instanceMethod("wv_drawImage:");
  const auto reflective =
      host.classNamed("IKFinderReflectiveIconCell")->instanceMethod("wv_drawImage:");
  const bool own = reflective && (!cells || reflective->implementation != cells->implementation);
  return {cells != nullptr, own, has("IKIconCell", "wv_drawWithFrame:inView:")};
}

TEST(IconViewOverlayLoadTest, EachLoadInstallsItsReplacementAndThenThoseAfterIt) {
  BadgedHost cells;
  BadgedHost reflective;
  BadgedHost frames;
  IconViewOverlay(cells.host.runtime(), cells.providerAccess()).load();
  IconViewOverlay(reflective.host.runtime(), reflective.providerAccess()).loadReflective();
  IconViewOverlay(frames.host.runtime(), frames.providerAccess()).loadDrawWithFrame();
  EXPECT_EQ(installedIn(cells.host), (std::vector<bool>{true, true, true}));
  EXPECT_EQ(installedIn(reflective.host), (std::vector<bool>{false, true, true}));
  EXPECT_EQ(installedIn(frames.host), (std::vector<bool>{false, false, true}));
}

TEST(IconViewOverlayMissingTest, WithoutReflectiveCellsTheOthersAreStillHooked) {
  auto classes = PictureHost::Classes();
  classes.reflectiveCells = false;
  BadgedHost badged(classes);
  badged.load();
  badged.settle();
  const auto cell = badged.host.makeIconCell(badged.item("green"), {64, 64});
  EXPECT_TRUE(hasBadgePixels(*badged.host.draw(cell), kGreen));
}

TEST(IconViewOverlayMissingTest, WithoutIconCellsTheReflectiveOnesAreStillHooked) {
  auto classes = PictureHost::Classes();
  classes.iconCells = false;
  BadgedHost badged(classes);
  badged.load();
  badged.settle();
  const auto cell = badged.host.makeIconCell(badged.item("green"), {64, 64});
  EXPECT_FALSE(hasBadgePixels(*badged.host.draw(cell), kGreen)) << "the host has no such class";
  const auto reflective =
      badged.host.makeIconCell(badged.item("green"), {64, 64}, "IKFinderReflectiveIconCell");
  EXPECT_TRUE(hasBadgePixels(*badged.host.draw(reflective), kGreen));
}

TEST(IconViewOverlayMissingTest, WithoutTheHostsWrapperClassTheHostDrawsANullWrapper) {
  auto classes = PictureHost::Classes();
  classes.wrappers = false;
  BadgedHost badged(classes);
  badged.load();
  badged.settle();
  const auto cell = badged.host.makeIconCell(badged.item("green"), {64, 64});
  EXPECT_EQ(badged.host.draw(cell), nullptr);
  EXPECT_EQ(cell->drawn.size(), 1U) << "its own drawing runs";
  EXPECT_TRUE(hasBadgePixels(*cell->icon->representations()[0].bitmap, kGreen));
}

TEST(IconViewOverlayMissingTest, WithoutAnImageFileTheIconIsDrawnUnchanged) {
  BadgedHost badged({}, false);
  badged.load();
  badged.settle();
  const auto bitmap = badged.host.draw(badged.host.makeIconCell(badged.item("green"), {64, 64}));
  for (const auto pixel : bitmap->pixels()) ASSERT_EQ(pixel, PictureHost::kGray);
}

TEST(IconViewOverlayMissingTest, AClassThatAlreadyHasTheNewMethodHasItsMethodsExchangedAndNoBadge) {
  BadgedHost badged;
  int calls = 0;
  badged.host.classNamed("IKIconCell")
      ->addMethod("wv_drawImage:",
                  platform::Implementation::of<void(Id)>([&](const Id&, const Id&) { ++calls; }),
                  "v@:@");
  badged.load();
  const auto cell = badged.host.makeIconCell(badged.item("green"), {64, 64});
  send<void>(cell, "drawImage:", Id());
  EXPECT_EQ(calls, 1);
}

TEST(IconViewOverlayMissingTest, AnExceptionOfTheHostLeavesItsOwnDrawing) {
  BadgedHost badged;
  badged.load();
  const auto cell = badged.host.makeIconCell(badged.item("green"), {64, 64});
  // Not a node: it does not respond to the expected messages.
  cell->representedItem = badged.host.recording.makeView();
  EXPECT_TRUE(badged.host.draw(cell));
}

}  // namespace
}  // namespace wevora
