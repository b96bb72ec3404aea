#include "Platform/Graphics/BitmapContext.h"

#include <limits>

#include <gtest/gtest.h>

#include "Platform/Graphics/GraphicsContext.h"
#include "Tests/Doubles/Layer.h"
#include "Tests/PictureFiles/PictureFiles.h"

namespace wevora::platform {
namespace {

using testing_host::twoHalves;

constexpr std::uint32_t kUpper = 0xFFFF0000;
constexpr std::uint32_t kLower = 0xFF0000FF;

TEST(BitmapContextTest, OnlyThePixelFormatOfABitmapIsSupported) {
  const BitmapContextFormat good{.width = 4, .height = 4};
  EXPECT_TRUE(BitmapContext::create(good));
  auto format = good;
  format.bitmapInfo = 1;
  EXPECT_FALSE(BitmapContext::create(format));
  format = good;
  format.bitsPerComponent = 16;
  EXPECT_FALSE(BitmapContext::create(format));
  format = good;
  format.colorSpace = ColorSpace::GenericGray;
  EXPECT_FALSE(BitmapContext::create(format));
  format = good;
  format.bytesPerRow = 15;
  EXPECT_FALSE(BitmapContext::create(format));
}

TEST(BitmapContextTest, AnEmptyOrTooLargeSizeReturnsNull) {
  EXPECT_FALSE(BitmapContext::create({.width = 0, .height = 4}));
  EXPECT_FALSE(BitmapContext::create({.width = 4, .height = 0}));
  EXPECT_FALSE(BitmapContext::create({.width = Bitmap::kLongestSide + 1, .height = 1}));
}

TEST(BitmapContextTest, ItIsInitiallyTransparent) {
  const auto context = BitmapContext::create({.width = 3, .height = 2});
  const auto image = context->createImage();
  for (const auto pixel : image->pixels()) EXPECT_EQ(pixel, 0U);
}

TEST(BitmapContextTest, AnImageDoesNotChangeWhenItsContextIsDrawnInto) {
  const auto context = BitmapContext::create({.width = 3, .height = 2});
  const auto before = context->createImage();
  context->fill(kUpper);
  EXPECT_EQ(before->pixels()[0], 0U);
  EXPECT_EQ(context->createImage()->pixels()[0], kUpper);
  EXPECT_NE(before->identity(), context->createImage()->identity());
}

TEST(BitmapContextTest, ABitmapDrawnDirectlyIsUprightWhereYGrowsUpwards) {
  const auto context = BitmapContext::create({.width = 16, .height = 16});
  contextDrawImage(*context, {0, 0, 16, 16}, twoHalves(16, 16, kUpper, kLower));
  EXPECT_EQ(context->createImage()->pixels().front(), kUpper);
}

TEST(BitmapContextTest, ABitmapDrawnDirectlyIsUpsideDownWhereYGrowsDownwards) {
  const auto context = BitmapContext::create({.width = 16, .height = 16, .flipped = true});
  contextDrawImage(*context, {0, 0, 16, 16}, twoHalves(16, 16, kUpper, kLower));
  EXPECT_EQ(context->createImage()->pixels().front(), kLower);
  contextDrawImage(*context, {0, 0, 16, 16}, nullptr);
}

TEST(BitmapContextTest, ANonFiniteRectangleDrawsNothingAndLeavesTheContextUsable) {
  const auto context = BitmapContext::create({.width = 16, .height = 16});
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const Rect& rect : {Rect{nan, 0, 16, 16}, Rect{0, -infinity, 16, 16},
                           Rect{0, 0, infinity, 16}, Rect{0, 0, 16, nan}})
    contextDrawImage(*context, rect, twoHalves(16, 16, kUpper, kLower));
  EXPECT_EQ(context->createImage()->pixels().front(), 0U);
  contextDrawImage(*context, {0, 0, 16, 16}, twoHalves(16, 16, kUpper, kLower));
  EXPECT_EQ(context->createImage()->pixels().front(), kUpper);
}

TEST(BitmapTest, AColourAboveItsAlphaIsClampedToIt) {
  const auto bitmap = Bitmap::make(1, 1, {0x40FF2080});
  EXPECT_EQ(bitmap->pixels()[0], 0x40402040U);
}

TEST(BitmapTest, ThePixelCountMustMatchTheSize) {
  EXPECT_FALSE(Bitmap::make(2, 2, {1, 2, 3}));
  EXPECT_FALSE(Bitmap::make(0, 0, {}));
}

TEST(GraphicsContextTest, SavedStatesAreRestoredInReverseOrder) {
  const auto outer = BitmapContext::create({.width = 1, .height = 1});
  const auto inner = BitmapContext::create({.width = 1, .height = 1});
  EXPECT_EQ(GraphicsContext::currentContext(), nullptr);
  {
    const CurrentTarget first(*outer);
    {
      const CurrentTarget second(*inner);
      EXPECT_EQ(GraphicsContext::currentContext(), inner.get());
    }
    EXPECT_EQ(GraphicsContext::currentContext(), outer.get());
  }
  EXPECT_EQ(GraphicsContext::currentContext(), nullptr);
  GraphicsContext::restoreGraphicsState();
  EXPECT_EQ(GraphicsContext::currentContext(), nullptr);
}

TEST(GraphicsContextTest, ATargetIsOwnedWhileItIsCurrentOrSaved) {
  auto target = BitmapContext::create({.width = 1, .height = 1});
  const std::weak_ptr<BitmapContext> seen = target;
  GraphicsContext::setCurrentContext(std::move(target));
  EXPECT_FALSE(seen.expired());
  GraphicsContext::saveGraphicsState();
  GraphicsContext::setCurrentContext(nullptr);
  EXPECT_FALSE(seen.expired());
  GraphicsContext::restoreGraphicsState();
  EXPECT_EQ(GraphicsContext::currentContext(), seen.lock().get());
  GraphicsContext::setCurrentContext(nullptr);
  EXPECT_TRUE(seen.expired());
}

TEST(LayerTest, ItReturnsItsFrameAndRecordsThatItNeedsDisplay) {
  Runtime runtime;
  const auto layers = Layer::registerIn(runtime);
  const auto layer = std::make_shared<Layer>(*layers);
  layer->setFrame({1, 2, 30, 40});
  EXPECT_EQ(send<Rect>(layer, "frame"), (Rect{1, 2, 30, 40}));
  EXPECT_FALSE(send<bool>(layer, "needsDisplay"));
  send<void>(layer, "setNeedsDisplay");
  EXPECT_TRUE(send<bool>(layer, "needsDisplay"));
  layer->displayed();
  EXPECT_FALSE(layer->needsDisplay());
}

}  // namespace
}  // namespace wevora::platform
