#include "Platform/Graphics/Image.h"

#include <limits>

#include <gtest/gtest.h>

#include "Platform/Graphics/BitmapContext.h"
#include "Platform/Graphics/GraphicsContext.h"
#include "Tests/PictureFiles/PictureFiles.h"

namespace wevora::platform {
namespace {

using testing_host::twoHalves;

constexpr std::uint32_t kUpper = 0xFFFF0000;
constexpr std::uint32_t kLower = 0xFF0000FF;
constexpr std::uint32_t kBackground = 0xFFFFFFFF;

/// A bitmap target filled with one colour, whose pixels can be read back.
class Canvas {
 public:
  explicit Canvas(bool flipped, double scale = 1, std::size_t points = 40)
      : side_(static_cast<std::size_t>(static_cast<double>(points) * scale)),
        context(BitmapContext::create(
            {.width = side_, .height = side_, .scale = scale, .flipped = flipped})) {
    context->fill(kBackground);
  }
  void draw(const Image& image, const Rect& rect, const Rect& from = {},
            CompositingOperation operation = CompositingOperation::SourceOver,
            double fraction = 1.0) const {
    const CurrentTarget current(*context);
    image.drawInRect(rect, from, operation, fraction);
  }
  /// A pixel, counted from the upper left corner.
  std::uint32_t at(std::size_t x, std::size_t y) const {
    return context->createImage()->pixels()[y * side_ + x];
  }

 private:
  std::size_t side_;

 public:
  std::shared_ptr<BitmapContext> context;
};

std::shared_ptr<Image> makeImage(const std::vector<ImageRep>& representations, Size size) {
  auto image = std::make_shared<Image>(size);
  image->addRepresentations(representations);
  return image;
}

std::shared_ptr<Image> twoColours() {
  return makeImage({{twoHalves(16, 16, kUpper, kLower), {16, 16}}}, {16, 16});
}

TEST(ImageTest, AnUnflippedImageIsUprightWhereYGrowsUpwards) {
  const Canvas canvas(false);
  canvas.draw(*twoColours(), {4, 4, 16, 16});
  EXPECT_EQ(canvas.at(4, 40 - 20), kUpper);
  EXPECT_EQ(canvas.at(19, 40 - 5), kLower);
}

TEST(ImageTest, AnUnflippedImageIsUpsideDownWhereYGrowsDownwards) {
  const Canvas canvas(true);
  canvas.draw(*twoColours(), {4, 4, 16, 16});
  EXPECT_EQ(canvas.at(4, 4), kLower);
  EXPECT_EQ(canvas.at(4, 19), kUpper);
}

TEST(ImageTest, AFlippedImageIsUprightWhereYGrowsDownwards) {
  const Canvas canvas(true);
  const auto image = twoColours();
  image->setFlipped(true);
  canvas.draw(*image, {4, 4, 16, 16});
  EXPECT_EQ(canvas.at(4, 4), kUpper);
  EXPECT_EQ(canvas.at(4, 19), kLower);
}

TEST(ImageTest, NothingIsDrawnOutsideTheRectangle) {
  const Canvas canvas(true);
  canvas.draw(*twoColours(), {4, 4, 16, 16});
  for (const auto& [x, y] : {std::pair{3U, 10U}, {20U, 10U}, {10U, 3U}, {10U, 20U}})
    EXPECT_EQ(canvas.at(x, y), kBackground) << x << " " << y;
}

TEST(ImageTest, ASourceRectangleIsInTheImagesOwnCoordinates) {
  const Canvas canvas(false);
  // The lower half: y grows upwards in an unflipped image.
  canvas.draw(*twoColours(), {0, 0, 20, 20}, {0, 0, 16, 8});
  EXPECT_EQ(canvas.at(10, 22), kLower);
  EXPECT_EQ(canvas.at(10, 38), kLower);

  const Canvas flippedCanvas(true);
  const auto flipped = twoColours();
  flipped->setFlipped(true);
  flippedCanvas.draw(*flipped, {0, 0, 20, 20}, {0, 0, 16, 8});
  EXPECT_EQ(flippedCanvas.at(10, 2), kUpper);
  EXPECT_EQ(flippedCanvas.at(10, 17), kUpper);
}

TEST(ImageTest, SourceOverKeepsTheDestinationWhereTheImageIsTransparent) {
  const Canvas canvas(true);
  canvas.draw(*makeImage({{twoHalves(16, 16, 0, kLower), {16, 16}}}, {16, 16}), {0, 0, 16, 16});
  EXPECT_EQ(canvas.at(5, 2), kLower);
  EXPECT_EQ(canvas.at(5, 12), kBackground);
}

TEST(ImageTest, CopyReplacesTheDestinationEvenWhereTheImageIsTransparent) {
  const Canvas canvas(true);
  canvas.draw(*makeImage({{twoHalves(16, 16, 0, kLower), {16, 16}}}, {16, 16}), {0, 0, 16, 16}, {},
              CompositingOperation::Copy);
  EXPECT_EQ(canvas.at(5, 12), 0U);
  EXPECT_EQ(canvas.at(20, 12), kBackground) << "only within the rectangle";
}

TEST(ImageTest, AFractionBlendsTheImageWithTheDestination) {
  const Canvas canvas(true);
  canvas.context->fill(0xFF000000);
  canvas.draw(*twoColours(), {0, 0, 16, 16}, {}, CompositingOperation::SourceOver, 0.5);
  const std::uint32_t red = (canvas.at(5, 12) >> 16U) & 0xFFU;
  EXPECT_NEAR(red, 128, 2);
  canvas.draw(*twoColours(), {0, 20, 16, 16}, {}, CompositingOperation::SourceOver, 0.0);
  EXPECT_EQ(canvas.at(5, 30), 0xFF000000U);
}

TEST(ImageTest, AHighDensityDisplayGetsTheHighDensityRepresentation) {
  const auto image = makeImage({{twoHalves(16, 16, kUpper, kUpper), {16, 16}},
                                {twoHalves(32, 32, kLower, kLower), {16, 16}}},
                               {16, 16});
  const Canvas once(true);
  once.draw(*image, {0, 0, 16, 16});
  EXPECT_EQ(once.at(8, 8), kUpper);
  const Canvas twice(true, 2);
  twice.draw(*image, {0, 0, 16, 16});
  EXPECT_EQ(twice.at(16, 16), kLower);
}

TEST(ImageTest, TheBestRepresentationIsTheSmallestThatCoversElseTheLargest) {
  const auto image = makeImage({{twoHalves(48, 48, 0, 0), {48, 48}},
                                {twoHalves(16, 16, 0, 0), {16, 16}},
                                {twoHalves(32, 32, 0, 0), {32, 32}}},
                               {48, 48});
  EXPECT_EQ(image->bestRepresentation({8, 8})->bitmap->width(), 16U);
  EXPECT_EQ(image->bestRepresentation({16, 16})->bitmap->width(), 16U);
  EXPECT_EQ(image->bestRepresentation({17, 17})->bitmap->width(), 32U);
  EXPECT_EQ(image->bestRepresentation({200, 200})->bitmap->width(), 48U);
  EXPECT_EQ(Image().bestRepresentation({8, 8}), nullptr);
}

TEST(ImageTest, OfTwoRepresentationsWithTheSamePixelsTheOneWithTheTargetsScaleIsDrawn) {
  const auto image = makeImage({{twoHalves(32, 32, kUpper, kUpper), {32, 32}},
                                {twoHalves(32, 32, kLower, kLower), {16, 16}}},
                               {32, 32});
  const Canvas twice(true, 2);
  twice.draw(*image, {0, 0, 16, 16});
  EXPECT_EQ(twice.at(16, 16), kLower);
  const Canvas once(true);
  once.draw(*image, {0, 0, 32, 32});
  EXPECT_EQ(once.at(16, 16), kUpper);
}

TEST(ImageTest, ACopyHasItsOwnFlagAndSizeAndSharesTheBitmaps) {
  const auto image = twoColours();
  const auto copy = image->copy();
  copy->setFlipped(true);
  copy->setSize({5, 5});
  EXPECT_FALSE(image->isFlipped());
  EXPECT_EQ(image->size(), (Size{16, 16}));
  EXPECT_EQ(copy->representations()[0].bitmap, image->representations()[0].bitmap);
}

TEST(ImageTest, WithoutATargetOrAValidRectangleNothingIsDrawn) {
  twoColours()->drawInRect({0, 0, 16, 16}, {}, CompositingOperation::Copy, 1.0);
  const Canvas canvas(true);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const Rect& rect : {Rect{0, 0, 0, 16}, Rect{0, 0, -3, 16}, Rect{nan, 0, 16, 16},
                           Rect{0, 0, 16, std::numeric_limits<double>::infinity()}})
    canvas.draw(*twoColours(), rect);
  canvas.draw(Image({16, 16}), {0, 0, 16, 16});
  EXPECT_EQ(canvas.at(0, 0), kBackground);
}

TEST(ImageTest, DrawingWhileTheFocusIsLockedGoesIntoTheImage) {
  const auto image = makeImage({{twoHalves(64, 64, kBackground, kBackground), {64, 64}}}, {64, 64});
  image->lockFocus();
  twoColours()->drawInRect({0, 0, 16, 16}, {}, CompositingOperation::SourceOver, 1.0);
  image->unlockFocus();
  EXPECT_EQ(GraphicsContext::currentContext(), nullptr);
  ASSERT_EQ(image->representations().size(), 1U);
  const auto pixels = image->representations()[0].bitmap->pixels();
  EXPECT_EQ(pixels[(64 - 16) * 64], kUpper) << "y grows upwards, from the lower left corner";
  EXPECT_EQ(pixels[63 * 64 + 15], kLower);
  EXPECT_EQ(pixels[63 * 64 + 16], kBackground);
}

TEST(ImageTest, TheFocusHasTheScaleOfTheFinestRepresentation) {
  const auto image = makeImage({{twoHalves(16, 16, kBackground, kBackground), {16, 16}},
                                {twoHalves(32, 32, kBackground, kBackground), {16, 16}}},
                               {16, 16});
  image->lockFocus();
  EXPECT_DOUBLE_EQ(GraphicsContext::currentContext()->deviceScale(), 2.0);
  image->unlockFocus();
  EXPECT_EQ(image->representations()[0].bitmap->width(), 32U);
  EXPECT_EQ(image->representations()[0].size, (Size{16, 16}));
}

TEST(ImageTest, AnUnlockWithoutALockDoesNothing) {
  const auto image = twoColours();
  image->unlockFocus();
  EXPECT_EQ(image->representations().size(), 1U);
}

TEST(ImageTest, DestroyingAnImageWithALockedFocusRestoresTheTarget) {
  const Canvas canvas(true);
  const CurrentTarget current(*canvas.context);
  auto image = twoColours();
  image->lockFocus();
  image.reset();
  EXPECT_EQ(GraphicsContext::currentContext(), canvas.context.get());
}

TEST(ImageTest, DestroyingTheOuterOfTwoLockedImagesLeavesAUsableTarget) {
  auto first = twoColours();
  const auto second = twoColours();
  first->lockFocus();
  second->lockFocus();
  first.reset();
  twoColours()->drawInRect({0, 0, 16, 16}, {}, CompositingOperation::SourceOver, 1.0);
  second->unlockFocus();
  EXPECT_EQ(GraphicsContext::currentContext(), nullptr);
}

TEST(ImageTest, DrawingIntoAHostsImageGoesToTheHostsTarget) {
  const Canvas canvas(false);
  Image image({40, 40}, [&](const Image&) { return canvas.context; });
  image.lockFocus();
  twoColours()->drawInRect({0, 0, 16, 16}, {}, CompositingOperation::SourceOver, 1.0);
  image.unlockFocus();
  EXPECT_TRUE(image.representations().empty());
  EXPECT_EQ(canvas.at(0, 39), kLower);
}

TEST(ImageTest, ASmallRectangleGetsTheSmallRepresentation) {
  const auto image = makeImage(
      {{twoHalves(64, 64, 0, 0), {64, 64}}, {twoHalves(16, 16, 0, 0), {16, 16}}}, {64, 64});
  EXPECT_EQ(image->CGImageForProposedRect({0, 0, 8, 8})->width(), 16U);
  EXPECT_EQ(Image().CGImageForProposedRect({0, 0, 8, 8}), nullptr);
}

TEST(ImageTest, ATargetWithTwoPixelsPerPointGetsTheLargerRepresentation) {
  const auto image =
      makeImage({{twoHalves(16, 16, 0, 0), {16, 16}}, {twoHalves(8, 8, 0, 0), {8, 8}}}, {16, 16});
  EXPECT_EQ(image->CGImageForProposedRect({0, 0, 8, 8})->width(), 8U);
  const Canvas twice(true, 2);
  const CurrentTarget current(*twice.context);
  EXPECT_EQ(image->CGImageForProposedRect({0, 0, 8, 8})->width(), 16U);
}

}  // namespace
}  // namespace wevora::platform
