#include "FinderIntegration/finder_bundle/WVRDesktopIcon.h"

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
using testing_host::kGreen;
using testing_host::PictureHost;

class DesktopIconTest : public testing::Test {
 protected:
  DesktopIconTest() {
    badged.load();
    badged.settle();
  }
  std::shared_ptr<testing_host::DesktopIcon> icon(const std::string& name,
                                                  const Rect& frame = {5, 7, 128, 128}) {
    return host.makeDesktopIcon(badged.item(name), frame);
  }
  BadgedHost badged;
  PictureHost& host = badged.host;
};

TEST_F(DesktopIconTest, TheBadgeCoversTheWholeIconLayerAndIsUprightWhereYGrowsDownwards) {
  const auto green = icon("green");
  EXPECT_EQ(findBadge(*host.draw(green, green->icon), kGreen),
            (BadgePlacement{{0, 0, 128, 128}, true}));
  EXPECT_EQ(green->drawnByHost, 1);
}

TEST_F(DesktopIconTest, TheBadgeIsUpsideDownWhereYGrowsUpwards) {
  const auto green = icon("green");
  EXPECT_EQ(findBadge(*host.draw(green, green->icon, false), kGreen),
            (BadgePlacement{{0, 0, 128, 128}, false}));
}

TEST_F(DesktopIconTest, TheBadgeIsStretchedToTheFrameOfTheLayerFromItsOrigin) {
  const auto wide = icon("green", {9, 9, 64, 128});
  const auto bitmap = host.draw(wide, wide->icon);
  EXPECT_EQ(bitmap->pixels().front(), kGreen.upper);
  EXPECT_EQ(bitmap->pixels().back(), kGreen.lower);
}

TEST_F(DesktopIconTest, ALayerOtherThanTheIconLayerGetsNothing) {
  const auto green = icon("green");
  EXPECT_FALSE(hasBadgePixels(*host.draw(green, green->title), kGreen));
  EXPECT_EQ(green->drawnByHost, 1) << "only the host's own drawing";
}

TEST_F(DesktopIconTest, AnIconWithoutAnIconLayerGetsNothing) {
  const auto green = icon("green");
  const auto other = std::make_shared<testing_host::DesktopIcon>(green->isa());
  other->setInstanceVariable("_node", host.recording.referenceTo(badged.item("green")));
  EXPECT_FALSE(hasBadgePixels(*host.draw(other, green->icon), kGreen));
}

TEST_F(DesktopIconTest, TheBadgeIsLeftFlipped) {
  badged.engine.provider->images().greenImageFlipped->setFlipped(false);
  const auto green = icon("green");
  host.draw(green, green->icon);
  EXPECT_TRUE(badged.engine.provider->images().greenImageFlipped->isFlipped());
}

TEST_F(DesktopIconTest, AnItemWithoutABadgeAndBadgesThatAreOffLeaveTheHostsDrawing) {
  const auto plain = icon("plain");
  const auto bitmap = host.draw(plain, plain->icon);
  for (const auto pixel : bitmap->pixels()) ASSERT_EQ(pixel, PictureHost::kGray);
  badged.engine.provider->setTurnedOn(false);
  const auto green = icon("green");
  EXPECT_FALSE(hasBadgePixels(*host.draw(green, green->icon), kGreen));
}

TEST_F(DesktopIconTest, TheMethodIsAddedWithAnObjectAsItsResult) {
  EXPECT_EQ(
      host.classNamed("TDesktopIcon")->instanceMethod("wv_drawLayer:inContext:")->typeEncoding,
      "@@:@^{CGContext=}");
}

/// The desktop reloads 1999 and 2000 milliseconds after the bundle is loaded.
std::pair<int, int> reloadsAfterLoading(BadgedHost& badged) {
  // Past the throttle interval.
  badged.engine.dispatch.advance(std::chrono::seconds(10));
  const int before = badged.host.recording.desktopReloads;
  badged.load();
  badged.engine.dispatch.advance(std::chrono::milliseconds(1999));
  const int early = badged.host.recording.desktopReloads - before;
  badged.engine.dispatch.advance(std::chrono::milliseconds(1));
  return {early, badged.host.recording.desktopReloads - before};
}

TEST(DesktopIconLoadTest, TheDesktopIsRedrawnAtOnceAndReloadedTwoSecondsLater) {
  BadgedHost badged;
  EXPECT_EQ(reloadsAfterLoading(badged), (std::pair{0, 1}));
  EXPECT_EQ(badged.host.desktopView->redraws, 1);
}

TEST(DesktopIconLoadTest, ADesktopWhoseViewRaisesAnExceptionIsStillReloaded) {
  BadgedHost badged;
  const auto desktops = badged.host.classNamed("TDesktopViewController");
  desktops->addMethod("raise", platform::Implementation::of<Id()>([](const Id&) -> Id {
                        throw platform::HostException("no view");
                      }),
                      "@@:");
  desktops->exchangeImplementations("view", "raise");
  EXPECT_EQ(reloadsAfterLoading(badged), (std::pair{0, 1}));
  EXPECT_EQ(badged.host.desktopView->redraws, 0);
}

TEST(DesktopIconLoadTest, WithoutADesktopNothingHappens) {
  auto classes = PictureHost::Classes();
  classes.desktop = false;
  classes.desktopIcons = false;
  BadgedHost badged(classes);
  badged.load();
  badged.engine.dispatch.advance(std::chrono::seconds(4));
  EXPECT_EQ(badged.host.desktopView->redraws, 0);
  EXPECT_EQ(badged.host.recording.desktopReloads, 0);
}

TEST(DesktopIconLoadTest, AClassThatAlreadyHasTheNewMethodHasItsMethodsExchanged) {
  BadgedHost badged;
  int own = 0;
  badged.host.classNamed("TDesktopIcon")
      ->addMethod("wv_drawLayer:inContext:",
                  platform::Implementation::of<void(Id, DrawingTarget*)>(
                      [&](const Id&, const Id&, DrawingTarget*) { ++own; }),
                  "v@:@^{CGContext=}");
  badged.load();
  badged.settle();
  const auto icon = badged.host.makeDesktopIcon(badged.item("green"), {0, 0, 32, 32});
  badged.host.draw(icon, icon->icon);
  EXPECT_EQ(own, 1);
  EXPECT_EQ(icon->drawnByHost, 0);
}

// --- CGImageCreateWithNSImage --------------------------------------------------------------------

std::shared_ptr<platform::Image> imageOf(platform::Size size) {
  auto image = std::make_shared<platform::Image>(size);
  const platform::ImageRep rep{testing_host::twoHalves(16, 16, kGreen.upper, kGreen.lower),
                               {16, 16}};
  image->addRepresentations({&rep, 1});
  return image;
}

TEST(CGImageCreateTest, TheBitmapHasAPixelForEachWholePointOfTheImage) {
  const auto bitmap = CGImageCreateWithNSImage(imageOf({16.9, 32.2}));
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(bitmap->width(), 16U);
  EXPECT_EQ(bitmap->height(), 32U);
}

TEST(CGImageCreateTest, AnUnflippedImageIsUprightAndAFlippedOneUpsideDown) {
  const auto image = imageOf({16, 16});
  EXPECT_EQ(CGImageCreateWithNSImage(image)->pixels().front(), kGreen.upper);
  image->setFlipped(true);
  EXPECT_EQ(CGImageCreateWithNSImage(image)->pixels().front(), kGreen.lower);
}

TEST(CGImageCreateTest, AnInvalidSizeGivesNoBitmap) {
  EXPECT_FALSE(CGImageCreateWithNSImage(nullptr));
  EXPECT_FALSE(CGImageCreateWithNSImage(imageOf({0, 16})));
  EXPECT_FALSE(CGImageCreateWithNSImage(imageOf({-5, 16})));
  EXPECT_FALSE(CGImageCreateWithNSImage(imageOf({1e9, 16})));
}

}  // namespace
}  // namespace wevora
