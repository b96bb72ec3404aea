#include "Hosts/PCManFMQt/Cell.h"

#include <QImage>
#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Graphics/GraphicsContext.h"

namespace wevora::pcmanfmqt {
namespace {

using platform::Bitmap;
using platform::DrawingTarget;
using platform::Id;
using platform::Image;
using platform::ImageRef;
using platform::Implementation;
using platform::Rect;
using platform::send;

constexpr std::uint32_t kRed = 0xFFFF0000;
constexpr std::uint32_t kBlue = 0xFF0000FF;

/// A fake badge, red above blue, with one pixel per point.
ImageRef badge(double points) {
  const auto side = static_cast<std::size_t>(points);
  std::vector<std::uint32_t> pixels(side * side, kBlue);
  std::fill_n(pixels.begin(), side * side / 2, kRed);
  const platform::Size size{points, points};
  auto image = std::make_shared<Image>(size);
  const std::vector<platform::ImageRep> reps = {
      {.bitmap = Bitmap::make(side, side, std::move(pixels)), .size = size}};
  image->addRepresentations(reps);
  return image;
}

/// Cells, and a canvas of 64 points that they paint on.
class CellTest : public testing::Test {
 protected:
  CellTest() { canvas.fill(Qt::transparent); }

  std::shared_ptr<Cell> cell(CellKind kind) {
    return cells.make(kind, nodes.make("file:///one"),
                      std::make_shared<hosts::View>(*views, [this] { ++redraws; }));
  }
  void draw(Cell& drawn) {
    QPainter painter(&canvas);
    drawn.draw({.painter = painter, .item = item, .box = box, .icon = icon});
  }
  /// Exchanges a method of the host with one of the test's, as the bundle does.
  template <class Signature, class Function>
  void replaceMethod(const char* name, const char* selector, Function function) {
    const auto hosts = runtime.classNamed(name);
    ASSERT_TRUE(hosts->addMethod("own", Implementation::of<Signature>(std::move(function)), "v@:"));
    ASSERT_TRUE(hosts->exchangeImplementations(selector, "own"));
  }
  /// The bounding rectangle of the pixels with a colour.
  QRect painted(std::uint32_t colour) const {
    QRect all;
    for (int y = 0; y < canvas.height(); ++y)
      for (int x = 0; x < canvas.width(); ++x)
        if (canvas.pixel(x, y) == colour) all |= QRect(x, y, 1, 1);
    return all;
  }
  bool isClear() const {
    QImage clear = canvas;
    clear.fill(Qt::transparent);
    return canvas == clear;
  }

  platform::Runtime runtime;
  hosts::Nodes nodes{runtime};
  std::shared_ptr<platform::Class> views = hosts::View::registerIn(runtime);
  Cells cells{runtime};
  int redraws = 0;
  QImage canvas{64, 64, QImage::Format_ARGB32_Premultiplied};
  QRectF item{4, 2, 40, 60};
  QRectF box{8, 10, 32, 32};
  QRectF icon{8, 18, 32, 16};
};

TEST_F(CellTest, WithoutTheBundleNothingIsPainted) {
  for (const auto kind : {CellKind::Icon, CellKind::List, CellKind::Desktop}) draw(*cell(kind));
  EXPECT_TRUE(isClear());
}

TEST_F(CellTest, EveryKindReturnsItsItemAndIsRedrawnByItsView) {
  const auto inIcons = cell(CellKind::Icon);
  EXPECT_EQ(send<Id>(Id(inIcons), "representedItem"), inIcons->node());
  send<void>(send<Id>(Id(inIcons), "controlView"), "setNeedsDisplay:", true);
  EXPECT_EQ(redraws, 1);
  const auto inList = cell(CellKind::List);
  EXPECT_EQ(send<const TFENode*>(Id(inList), "node"), inList->node()->reference());
  EXPECT_EQ(send<Id>(Id(inList), "view"), inList->view());
  send<void>(send<Id>(Id(inList), "controlView"), "setNeedsDisplay:", true);
  EXPECT_EQ(redraws, 2);
  const auto onDesktop = cell(CellKind::Desktop);
  EXPECT_EQ(onDesktop->instanceVariable<TFENode>("_node"), *onDesktop->node()->reference());
  send<void>(Id(onDesktop), "setNeedsDisplay");
  EXPECT_EQ(redraws, 3);
}

// Icons.

class IconCellTest : public CellTest {
 protected:
  /// Draws a badge into the icon's image and lets the host draw the image, as the bundle does.
  void paintBadges() {
    replaceMethod<void(Id)>("IKIconCell", "drawImage:", [this](const Id& self, const Id& wrapper) {
      image = send<ImageRef>(wrapper, "_nsImage");
      size = image->size();
      image->lockFocus();
      badge(16)->drawInRect({0, 0, size.height, size.height}, {},
                            platform::CompositingOperation::SourceOver, 1.0);
      image->unlockFocus();
      const Id another = send<Id>(send<Id>(Id(runtime.classNamed("IKImageWrapper")), "alloc"),
                                  "initWithNSImage:", image);
      send<void>(self, "own", another);
    });
  }
  ImageRef image;
  platform::Size size;
};

TEST_F(IconCellTest, DrawingIntoTheImageAppearsUprightOverTheIcon) {
  paintBadges();
  draw(*cell(CellKind::Icon));
  EXPECT_EQ(size, (platform::Size{32, 16}));
  EXPECT_EQ(painted(kRed), QRect(8, 18, 16, 8));
  EXPECT_EQ(painted(kBlue), QRect(8, 26, 16, 8));
}

TEST_F(IconCellTest, OnAHighDensityDisplayItHasTheSameSizeInPoints) {
  canvas = QImage(128, 128, QImage::Format_ARGB32_Premultiplied);
  canvas.setDevicePixelRatio(2);
  canvas.fill(Qt::transparent);
  paintBadges();
  draw(*cell(CellKind::Icon));
  EXPECT_EQ(painted(kRed) | painted(kBlue), QRect(16, 36, 32, 32));
}

TEST_F(IconCellTest, AnImageThatOutlivesItsCellMayStillBeDrawnInto) {
  paintBadges();
  auto drawn = cell(CellKind::Icon);
  draw(*drawn);
  const std::weak_ptr<Cell> gone = drawn;
  drawn.reset();
  ASSERT_TRUE(gone.expired());
  canvas.fill(Qt::transparent);
  image->lockFocus();
  badge(16)->drawInRect({0, 0, 16, 16}, {}, platform::CompositingOperation::SourceOver, 1.0);
  image->unlockFocus();
  EXPECT_TRUE(isClear());
}

TEST_F(IconCellTest, ACellThatIsRedrawnIsPaintedAtItsNewPosition) {
  paintBadges();
  const auto one = cell(CellKind::Icon);
  draw(*one);
  canvas.fill(Qt::transparent);
  icon.translate(10, 5);
  draw(*one);
  EXPECT_EQ(painted(kRed) | painted(kBlue), QRect(18, 23, 16, 16));
}

TEST_F(IconCellTest, DrawingOutsideOfAPassIsDiscarded) {
  paintBadges();
  const Id one = cell(CellKind::Icon);
  send<void>(one, "drawInteriorWithFrame:inView:", Rect{0, 0, 40, 60}, Id());
  EXPECT_EQ(image, nullptr);
  draw(static_cast<Cell&>(*one));
  canvas.fill(Qt::transparent);
  image->lockFocus();
  EXPECT_EQ(platform::GraphicsContext::currentContext(), nullptr);
  image->unlockFocus();
  EXPECT_TRUE(isClear());
}

TEST_F(IconCellTest, AnImageOtherThanTheIconsIsNotPainted) {
  replaceMethod<void(Id)>("IKIconCell", "drawImage:", [this](const Id& self, const Id& wrapper) {
    send<void>(self, "own", Id());
    send<void>(self, "own", Id(self));
    send<void>(self, "own",
               send<Id>(send<Id>(Id(runtime.classNamed("IKImageWrapper")), "alloc"),
                        "initWithNSImage:", badge(16)));
    EXPECT_TRUE(wrapper);
  });
  draw(*cell(CellKind::Icon));
  EXPECT_TRUE(isClear());
}

// Rows of a list.

class ListCellTest : public CellTest {
 protected:
  /// Draws a badge 10 points from the left, vertically centred, as the bundle does.
  void paintBadges() {
    replaceMethod<void(Rect)>(
        "TListViewIconAndTextCell", "drawIconWithFrame:", [this](const Id& self, const Rect& row) {
          send<void>(self, "own", row);
          frame = row;
          const double side = row.height > 32 ? 32 : 16;
          const auto shown = badge(side);
          shown->setFlipped(true);
          shown->drawInRect({10, row.y + row.height / 2 - side / 2, side, side}, {},
                            platform::CompositingOperation::SourceOver, 1.0);
        });
  }
  Rect frame;
};

TEST_F(ListCellTest, TheBadgeHasTheIconsLowerLeftCorner) {
  box = {8, 10, 24, 24};
  paintBadges();
  draw(*cell(CellKind::List));
  EXPECT_EQ(frame.width, 40);
  EXPECT_EQ(painted(kRed), QRect(8, 18, 16, 8));
  EXPECT_EQ(painted(kBlue), QRect(8, 26, 16, 8));
}

TEST_F(ListCellTest, ALargeIconHasALargeBadge) {
  paintBadges();
  draw(*cell(CellKind::List));
  EXPECT_EQ(painted(kRed) | painted(kBlue), QRect(8, 10, 32, 32));
}

TEST_F(ListCellTest, TheOtherColumnsAreNotPaintedOver) {
  item = {4, 2, 20, 60};
  paintBadges();
  draw(*cell(CellKind::List));
  EXPECT_EQ(painted(kRed) | painted(kBlue), QRect(8, 10, 16, 32));
}

TEST_F(ListCellTest, TheThumbnailIsNotReplaced) {
  const Id one = cell(CellKind::List);
  const auto thumbnail = send<ImageRef>(one, "thumbnail");
  ASSERT_NE(thumbnail, nullptr);
  send<void>(one, "setThumbnail:", badge(16));
  EXPECT_EQ(send<ImageRef>(one, "thumbnail"), thumbnail);
}

TEST_F(ListCellTest, NoTargetIsCurrentAfterTheRowIsDrawn) {
  paintBadges();
  draw(*cell(CellKind::List));
  EXPECT_EQ(platform::GraphicsContext::currentContext(), nullptr);
}

// The desktop.

TEST_F(CellTest, ADesktopIconIsDrawnIntoItsLayer) {
  replaceMethod<void(Id, DrawingTarget*)>(
      "TDesktopIcon",
      "drawLayer:inContext:", [](const Id& self, const Id& layer, DrawingTarget* context) {
        send<void>(self, "own", layer, context);
        EXPECT_EQ(self->instanceVariable<Id>("_icon"), layer);
        const auto frame = send<Rect>(layer, "frame");
        EXPECT_EQ(frame, (Rect{8, 10, 32, 32}));
        // A directly drawn bitmap is upside down where y grows downwards.
        platform::contextDrawImage(*context, {0, 0, frame.width, frame.height},
                                   Bitmap::make(2, 2, {kBlue, kBlue, kRed, kRed}));
      });
  draw(*cell(CellKind::Desktop));
  EXPECT_EQ((painted(kRed) | painted(kBlue)).topLeft(), QPoint(8, 10));
  EXPECT_EQ(canvas.pixel(9, 11), kRed);
  EXPECT_EQ(canvas.pixel(38, 40), kBlue);
}

}  // namespace
}  // namespace wevora::pcmanfmqt
