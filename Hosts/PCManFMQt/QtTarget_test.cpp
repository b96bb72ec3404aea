// Qt paints into an image, so no display is needed.

#include "Hosts/PCManFMQt/QtTarget.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Graphics/GraphicsContext.h"
#include "Platform/Graphics/Image.h"

namespace wevora::pcmanfmqt {
namespace {

using platform::Bitmap;
using platform::BitmapRef;

constexpr std::uint32_t kRed = 0xFFFF0000;
constexpr std::uint32_t kGreen = 0xFF00FF00;
constexpr std::uint32_t kBlue = 0xFF0000FF;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;
constexpr int kSide = 8;  // points of the window

using Rows = std::vector<std::string>;

/// A window that the host paints, keyOf an image.
class Window {
 public:
  explicit Window(double scale = 1)
      : canvas_(static_cast<int>(kSide * scale), static_cast<int>(kSide * scale),
                QImage::Format_ARGB32_Premultiplied) {
    canvas_.setDevicePixelRatio(scale);
    canvas_.fill(Qt::transparent);
    painter_.begin(&canvas_);
  }

  QtTarget target(double x = 0, double y = 0) { return {painter_, images_, {x, y}}; }
  QPainter& painter() { return painter_; }
  ImageCache& images() { return images_; }

  std::uint32_t pixel(int x, int y) const { return canvas_.pixel(x, y); }
  /// The device pixels keyOf text, one letter per pixel, the top row first.
  Rows letters() const {
    Rows rows;
    for (int y = 0; y < canvas_.height(); ++y) {
      std::string row;
      for (int x = 0; x < canvas_.width(); ++x) {
        const auto colour = pixel(x, y);
        row += colour == kRed     ? 'r'
               : colour == kGreen ? 'g'
               : colour == kBlue  ? 'b'
               : colour == 0      ? '.'
                                  : '?';
      }
      rows.push_back(row);
    }
    return rows;
  }

 private:
  QImage canvas_;
  ImageCache images_;
  QPainter painter_;
};

BitmapRef plain(std::uint32_t colour, std::size_t side = 2) {
  return Bitmap::make(side, side, std::vector<std::uint32_t>(side * side, colour));
}

/// Red above blue.
BitmapRef upright() {
  return Bitmap::make(2, 2, {kRed, kRed, kBlue, kBlue});
}

TEST(QtTargetTest, ABitmapFillsItsDestination) {
  Window window;
  window.target().drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {1, 2, 4, 3}});
  EXPECT_EQ(window.letters(), (Rows{"........", "........", ".rrrr...", ".rrrr...", ".rrrr...",
                                    "........", "........", "........"}));
}

TEST(QtTargetTest, TheTargetStartsAtItsOrigin) {
  Window window;
  window.target(3, 4).drawBitmap(plain(kRed),
                                 {.source = {0, 0, 2, 2}, .destination = {1, 0, 2, 2}});
  EXPECT_EQ(window.letters()[4], "....rr..");
  EXPECT_EQ(window.letters()[5], "....rr..");
  EXPECT_EQ(window.letters()[6], "........");
}

TEST(QtTargetTest, TheTopRowOfABitmapIsAboveUnlessItIsUpsideDown) {
  for (const bool upsideDown : {false, true}) {
    Window window;
    window.target().drawBitmap(
        upright(), {.source = {0, 0, 2, 2}, .destination = {2, 2, 2, 2}, .upsideDown = upsideDown});
    const auto rows = window.letters();
    EXPECT_EQ(rows[2], upsideDown ? "..bb...." : "..rr....");
    EXPECT_EQ(rows[3], upsideDown ? "..rr...." : "..bb....");
  }
}

TEST(QtTargetTest, OnlyTheSourceOfABitmapIsDrawnInEitherOrientation) {
  // Red and green above blue and white.
  const auto bitmap = Bitmap::make(2, 2, {kRed, kGreen, kBlue, kWhite});
  for (const bool upsideDown : {false, true}) {
    Window window;
    window.target().drawBitmap(
        bitmap, {.source = {1, 0, 1, 1}, .destination = {3, 3, 2, 2}, .upsideDown = upsideDown});
    EXPECT_EQ(window.letters(), (Rows{"........", "........", "........", "...gg...", "...gg...",
                                      "........", "........", "........"}))
        << upsideDown;
  }
}

TEST(QtTargetTest, AnUpsideDownPartIsFlippedWithinItself) {
  const auto bitmap = Bitmap::make(1, 3, {kRed, kBlue, kGreen});
  Window window;
  window.target().drawBitmap(
      bitmap, {.source = {0, 0, 1, 2}, .destination = {0, 0, 1, 2}, .upsideDown = true});
  EXPECT_EQ(window.letters()[0], "b.......");
  EXPECT_EQ(window.letters()[1], "r.......");
}

TEST(QtTargetTest, TheHostsPaintingIsKeptAroundTheBitmap) {
  Window window;
  window.painter().fillRect(0, 0, kSide, kSide, Qt::green);
  window.target().drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {0, 6, 2, 2}});
  EXPECT_EQ(window.letters(), (Rows{"gggggggg", "gggggggg", "gggggggg", "gggggggg", "gggggggg",
                                    "gggggggg", "rrgggggg", "rrgggggg"}));
}

TEST(QtTargetTest, AFractionBlendsTheBitmapWithTheHostsPainting) {
  Window window;
  window.painter().fillRect(0, 0, kSide, kSide, Qt::white);
  window.target().drawBitmap(
      plain(0xFF000000), {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}, .fraction = 0.5});
  EXPECT_NEAR(window.pixel(0, 0) & 0xFFU, 128, 2);
  EXPECT_EQ(window.pixel(7, 0), kWhite);
}

TEST(QtTargetTest, ACopyReplacesTheDestination) {
  using platform::CompositingOperation;
  for (const auto operation : {CompositingOperation::Copy, CompositingOperation::SourceOver}) {
    Window window;
    window.painter().fillRect(0, 0, kSide, kSide, Qt::green);
    window.target().drawBitmap(
        plain(0), {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}, .operation = operation});
    EXPECT_EQ(window.letters()[0],
              operation == CompositingOperation::Copy ? "..gggggg" : "gggggggg");
  }
}

TEST(QtTargetTest, ADrawingRestoresTheHostsPainter) {
  Window window;
  window.painter().setOpacity(0.75);
  window.target().drawBitmap(upright(), {.source = {0, 0, 2, 2},
                                         .destination = {4, 4, 2, 2},
                                         .operation = platform::CompositingOperation::Copy,
                                         .fraction = 0.5});
  EXPECT_EQ(window.painter().opacity(), 0.75);
  EXPECT_EQ(window.painter().compositionMode(), QPainter::CompositionMode_SourceOver);
}

TEST(QtTargetTest, ADestinationNarrowerThanHalfAPixelIsNotDrawn) {
  Window window;
  window.target().drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {1, 1, 0.2, 4}});
  EXPECT_EQ(window.letters(), Rows(kSide, "........"));
}

TEST(QtTargetTest, OnAHighDensityDisplayTheHighDensityRepresentationIsDrawnUnscaled) {
  platform::Image image({2, 2});
  const std::vector<platform::ImageRep> reps = {
      {.bitmap = plain(kGreen), .size = {2, 2}},
      {.bitmap = Bitmap::make(4, 4,
                              {kRed, kBlue, kRed, kBlue, kBlue, kRed, kBlue, kRed,  //
                               kRed, kBlue, kRed, kBlue, kBlue, kRed, kBlue, kRed}),
       .size = {2, 2}}};
  image.addRepresentations(reps);
  image.setFlipped(true);  // the window's y grows downwards
  Window window(2);
  auto target = window.target(1, 0);
  EXPECT_EQ(target.deviceScale(), 2);
  {
    const platform::CurrentTarget current(target);
    image.drawInRect({0, 0, 2, 2}, {}, platform::CompositingOperation::SourceOver, 1.0);
  }
  const auto rows = window.letters();
  EXPECT_EQ(rows[0], "..rbrb..........");
  EXPECT_EQ(rows[1], "..brbr..........");
  EXPECT_EQ(rows[2], "..rbrb..........");
  EXPECT_EQ(rows[3], "..brbr..........");
  EXPECT_EQ(rows[4], "................");
}

TEST(QtTargetTest, ABitmapBetweenTwoPixelsIsRoundedToOne) {
  Window window;
  window.target(0.4, 0).drawBitmap(upright(),
                                   {.source = {0, 0, 2, 2}, .destination = {0, 0.5, 2, 2}});
  EXPECT_EQ(window.letters()[0], "........");
  EXPECT_EQ(window.letters()[1], "rr......");
  EXPECT_EQ(window.letters()[2], "bb......");
}

ImageCache::Key keyOf(const BitmapRef& bitmap, int side, bool upsideDown = false) {
  return {.bitmap = bitmap->identity(), .width = side, .height = side, .upsideDown = upsideDown};
}

TEST(ImageCacheTest, ABitmapThatIsDrawnAgainHasTheCachedImage) {
  ImageCache images;
  const auto bitmap = upright();
  const QImage* const first = &images.of(*bitmap, keyOf(bitmap, 2));
  EXPECT_EQ(&images.of(*bitmap, keyOf(bitmap, 2)), first);
}

TEST(ImageCacheTest, ABitmapHasAnImageForEachSizeAndOrientation) {
  ImageCache images;
  const auto bitmap = upright();
  EXPECT_EQ(images.of(*bitmap, keyOf(bitmap, 2)).pixel(0, 0), kRed);
  EXPECT_EQ(images.of(*bitmap, keyOf(bitmap, 2, true)).pixel(0, 0), kBlue);
  EXPECT_EQ(images.of(*bitmap, keyOf(bitmap, 6)).width(), 6);
}

TEST(ImageCacheTest, AnImageOutlivesItsBitmap) {
  auto bitmap = plain(kGreen);
  const QImage image = imageOf(*bitmap);
  bitmap.reset();
  EXPECT_EQ(image.pixel(1, 1), kGreen);
}

TEST(ImageCacheTest, BitmapsAreDrawnAfterTheCacheIsEvicted) {
  Window window;
  for (std::size_t i = 0; i <= ImageCache::kMaxEntries; ++i)
    window.target().drawBitmap(plain(kBlue), {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}});
  window.target().drawBitmap(plain(kRed), {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}});
  EXPECT_EQ(window.letters()[0], "rr......");
}

}  // namespace
}  // namespace wevora::pcmanfmqt
