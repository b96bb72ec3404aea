#include <gtest/gtest.h>

#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Graphics/BitmapContext.h"
#include "Platform/Graphics/GraphicsContext.h"
#include "Tests/PictureHost/BadgedHost.h"

namespace wevora {
namespace {

using testing_host::BadgedHost;
using testing_host::PictureHost;
using testing_host::View;

class ProviderImagesTest : public testing::Test {
 protected:
  ProviderImagesTest() { badged.settle(); }
  platform::ImageRef image(const std::string& name, bool isFlipped) {
    return provider.imageForPath(ItemURL(badged.item(name)), isFlipped);
  }
  Id nodeOf(const std::string& name) { return badged.host.recording.makeNode(badged.item(name)); }

  BadgedHost badged;
  WVIconProvider& provider = *badged.engine.provider;
  const BadgeImages& images = provider.images();
};

TEST_F(ProviderImagesTest, AFlippedContextGetsTheUnflippedImageAndViceVersa) {
  EXPECT_EQ(image("green", false), images.greenImageFlipped);
  EXPECT_EQ(image("green", true), images.greenImage);
  EXPECT_EQ(image("blue", false), images.blueImageFlipped);
  EXPECT_EQ(image("blue", true), images.blueImage);
  EXPECT_EQ(image("red", false), images.redImageFlipped);
  EXPECT_EQ(image("red", true), images.redImage);
}

TEST_F(ProviderImagesTest, EveryImageHasAFlippedCopyAndARendering) {
  for (const auto& [image, flipped, small] :
       {std::tuple{images.redImage, images.redImageFlipped, images.red},
        std::tuple{images.greenImage, images.greenImageFlipped, images.green},
        std::tuple{images.blueImage, images.blueImageFlipped, images.blue}}) {
    ASSERT_TRUE(image && flipped && small);
    EXPECT_FALSE(image->isFlipped());
    EXPECT_TRUE(flipped->isFlipped());
    EXPECT_EQ(small->width(), 16U) << "the smallest that covers 8 by 8 points";
  }
}

TEST_F(ProviderImagesTest, TheRenderingsAreMadeForTheCurrentTarget) {
  const auto fine =
      platform::BitmapContext::create({.width = 64, .height = 64, .scale = 4, .flipped = true});
  const platform::CurrentTarget current(*fine);
  const auto made = BadgeImages::load(badged.installed.paths);
  for (const auto& small : {made.red, made.green, made.blue})
    EXPECT_EQ(small->width(), 32U) << "the smallest that covers 8 by 8 points of 4 pixels";
}

TEST_F(ProviderImagesTest, EachWordHasItsOwnFile) {
  using testing_host::Halves;
  const auto upper = [](const platform::BitmapRef& bitmap) { return bitmap->pixels().front(); };
  EXPECT_EQ(upper(images.red), testing_host::kRed.upper) << "w.icns";
  EXPECT_EQ(upper(images.green), testing_host::kGreen.upper) << "ok.icns";
  EXPECT_EQ(upper(images.blue), testing_host::kBlue.upper) << "backup.icns";
}

TEST_F(ProviderImagesTest, AnItemWithoutAWordHasNoImage) {
  EXPECT_EQ(image("plain", false), nullptr);
  EXPECT_EQ(image("plain", true), nullptr);
}

TEST_F(ProviderImagesTest, AnUnreadableItemHasTheEmptyWordAndNoImage) {
  EXPECT_EQ(provider.colorFor(ItemURL(badged.item("absent"))), "");
  EXPECT_EQ(image("absent", false), nullptr);
}

TEST_F(ProviderImagesTest, AnImageIsNotACopySoTheNextCallerSeesAChangedFlag) {
  image("green", false)->setFlipped(false);
  EXPECT_FALSE(image("green", false)->isFlipped());
  EXPECT_EQ(image("green", false), images.greenImageFlipped);
}

TEST_F(ProviderImagesTest, EveryKindOfCellGetsTheFlippedCopy) {
  const auto list = badged.host.makeListCell(badged.item("green"));
  const auto icon = badged.host.makeIconCell(badged.item("green"), {64, 64});
  const auto desktop = badged.host.makeDesktopIcon(badged.item("green"), {0, 0, 64, 64});
  EXPECT_EQ(provider.iconForCell(list), images.greenImageFlipped);
  EXPECT_EQ(provider.imageForBrowserCell(icon), images.greenImageFlipped);
  EXPECT_EQ(provider.iconForDesktopCell(desktop), images.greenImageFlipped);
}

TEST_F(ProviderImagesTest, WithBadgesOffNoCellGetsAnImageAndNoViewIsStored) {
  const auto list = badged.host.makeListCell(badged.item("green"));
  const auto desktop = badged.host.makeDesktopIcon(badged.item("green"), {0, 0, 64, 64});
  provider.setTurnedOn(false);
  EXPECT_EQ(provider.iconForCell(list), nullptr);
  EXPECT_EQ(provider.imageForBrowserCell(badged.host.makeIconCell(badged.item("green"), {64, 64})),
            nullptr);
  EXPECT_EQ(provider.iconForDesktopCell(desktop), nullptr);
  EXPECT_EQ(provider.imageForFINode(nodeOf("green"), list->view, true), nullptr);
  badged.volume.database.setSynchronized("1", std::nullopt);
  provider.updateCacheForPath(badged.item("green"));
  badged.engine.dispatch.runAll();
  EXPECT_EQ(std::dynamic_pointer_cast<View>(list->view)->redraws, 0);
  EXPECT_EQ(desktop->redraws, 0);
}

TEST_F(ProviderImagesTest, WithBadgesOffNoRefreshIsQueued) {
  provider.setTurnedOn(false);
  badged.engine.clock.advance(std::chrono::seconds(60));
  badged.engine.dispatch.runAll();
  EXPECT_EQ(provider.iconForCell(badged.host.makeListCell(badged.item("green"))), nullptr);
  EXPECT_EQ(badged.engine.dispatch.serialQueues("support_queue").back()->pending(), 0U);
}

TEST_F(ProviderImagesTest, TheViewOfAListCellIsRedrawnWhenTheWordChanges) {
  const auto list = badged.host.makeListCell(badged.item("green"));
  provider.iconForCell(list);
  badged.volume.database.setSynchronized("1", std::nullopt);
  provider.updateCacheForPath(badged.item("green"));
  badged.engine.dispatch.runAll();
  EXPECT_EQ(std::dynamic_pointer_cast<View>(list->view)->redraws, 1);
  EXPECT_EQ(provider.iconForCell(list), images.blueImageFlipped);
}

TEST_F(ProviderImagesTest, TheViewOfADesktopIconIsTheIconItself) {
  const auto desktop = badged.host.makeDesktopIcon(badged.item("green"), {0, 0, 64, 64});
  provider.iconForDesktopCell(desktop);
  badged.volume.database.setSynchronized("1", std::nullopt);
  provider.updateCacheForPath(badged.item("green"));
  badged.engine.dispatch.runAll();
  EXPECT_EQ(desktop->redraws, 1);
}

TEST_F(ProviderImagesTest, AnIconViewCellStoresNoView) {
  const auto list = badged.host.makeListCell(badged.item("green"));
  provider.iconForCell(list);
  provider.imageForBrowserCell(badged.host.makeIconCell(badged.item("green"), {64, 64}));
  badged.volume.database.setSynchronized("1", std::nullopt);
  provider.updateCacheForPath(badged.item("green"));
  badged.engine.dispatch.runAll();
  EXPECT_EQ(std::dynamic_pointer_cast<View>(list->view)->redraws, 1) << "the list's view stays";
}

TEST_F(ProviderImagesTest, ANodeWithoutAURLHasNoImage) {
  const auto node = badged.host.recording.makeNode(badged.item("green"));
  node->url.reset();
  EXPECT_EQ(provider.imageForFINode(node, badged.host.recording.makeView(), false), nullptr);
  const TFENode reference{node.get()};
  EXPECT_EQ(provider.pathForNode(&reference), std::nullopt);
}

TEST_F(ProviderImagesTest, PathForNodeIsTheURLOfTheNode) {
  const auto reference = badged.host.recording.referenceTo(badged.item("green"));
  EXPECT_EQ(provider.pathForNode(&reference), ItemURL(badged.item("green")));
  EXPECT_EQ(provider.pathForNode(nullptr), std::nullopt);
}

TEST_F(ProviderImagesTest, CellsWithoutANodeHaveNoImage) {
  const auto list = badged.host.makeListCell(badged.item("green"));
  list->node = {};
  EXPECT_EQ(provider.iconForCell(list), nullptr);
  EXPECT_EQ(provider.iconForCell(nullptr), nullptr);
  const auto icon = badged.host.makeIconCell(badged.item("green"), {64, 64});
  icon->representedItem = nullptr;
  EXPECT_EQ(provider.imageForBrowserCell(icon), nullptr);
  EXPECT_EQ(provider.iconForDesktopCell(nullptr), nullptr);
  EXPECT_EQ(provider.iconForDesktopCell(badged.host.recording.makeView()), nullptr);
}

TEST_F(ProviderImagesTest, RemoveCellDoesNothing) {
  const auto list = badged.host.makeListCell(badged.item("green"));
  provider.iconForCell(list);
  provider.removeCell(list);
  EXPECT_EQ(provider.iconForCell(list), images.greenImageFlipped);
}

TEST(ProviderMissingImagesTest, AMissingFileLeavesOnlyItsWordWithoutABadge) {
  BadgedHost badged;
  badged.installed.removePicture("ok.icns");
  const auto provider = badged.engine.makeProvider();
  provider->setTurnedOn(true);
  provider->colorFor(ItemURL(badged.item("green")));
  badged.engine.dispatch.runAll();
  EXPECT_EQ(provider->colorFor(ItemURL(badged.item("green"))), "green");
  EXPECT_EQ(provider->imageForPath(ItemURL(badged.item("green")), false), nullptr);
  EXPECT_EQ(provider->imageForPath(ItemURL(badged.item("green")), true), nullptr);
  EXPECT_EQ(provider->images().green, nullptr);
  EXPECT_NE(provider->imageForPath(ItemURL(badged.item("blue")), false), nullptr);
}

TEST(ProviderMissingImagesTest, WithoutAnInstalledBundleThereAreNoBadges) {
  BadgedHost badged({}, false);
  badged.settle();
  for (const char* name : {"green", "blue", "red"})
    EXPECT_EQ(badged.engine.provider->imageForPath(ItemURL(badged.item(name)), false), nullptr);
}

TEST(ProviderMissingImagesTest, WithoutTheHostsNodesListsAndDesktopHaveNoBadges) {
  auto classes = PictureHost::Classes();
  classes.nodes = false;
  BadgedHost badged(classes);
  badged.settle();
  EXPECT_EQ(badged.engine.provider->iconForCell(badged.host.makeListCell(badged.item("green"))),
            nullptr);
  EXPECT_EQ(badged.engine.provider->iconForDesktopCell(
                badged.host.makeDesktopIcon(badged.item("green"), {0, 0, 64, 64})),
            nullptr);
}

}  // namespace
}  // namespace wevora
