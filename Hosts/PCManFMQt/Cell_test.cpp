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

/// Red above blue, of as many points and pixels.
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

/// Cells, and a picture of 64 points that they paint over.
class CellTest : public testing::Test {
 protected:
  CellTest() { picture.fill(Qt::transparent); }

  std::shared_ptr<Cell> cell(CellKind kind) {
    return cells.make(kind, nodes.make("file:///one"),
                      std::make_shared<hosts::View>(*views, [this] { ++redraws; }));
  }
  void draw(Cell& drawn) {
    QPainter painter(&picture);
    drawn.draw({.painter = painter, .item = item, .box = box, .icon = icon});
  }
  /// Puts the bundle's own method into the place of the host's, as the bundle does.
  template <class Signature, class Function>
  void standIn(const char* name, const char* selector, Function function) {
    const auto hosts = runtime.classNamed(name);
    ASSERT_TRUE(hosts->addMethod("own", Implementation::of<Signature>(std::move(function)), "v@:"));
    ASSERT_TRUE(hosts->exchangeImplementations(selector, "own"));
  }
  /// What was painted, by its colour.
  QRect painted(std::uint32_t colour) const {
    QRect all;
    for (int y = 0; y < picture.height(); ++y)
      for (int x = 0; x < picture.width(); ++x)
        if (picture.pixel(x, y) == colour) all |= QRect(x, y, 1, 1);
    return all;
  }
  bool isClear() const {
    QImage clear = picture;
    clear.fill(Qt::transparent);
    return picture == clear;
  }

  platform::Runtime runtime;
  hosts::Nodes nodes{runtime};
  std::shared_ptr<platform::Class> views = hosts::View::registerIn(runtime);
  Cells cells{runtime};
  int redraws = 0;
  QImage picture{64, 64, QImage::Format_ARGB32_Premultiplied};
  QRectF item{4, 2, 40, 60};
  QRectF box{8, 10, 32, 32};
  QRectF icon{8, 18, 32, 16};
};

TEST_F(CellTest, WithoutTheBundleNothingIsPainted) {
  for (const auto kind : {CellKind::Icon, CellKind::List, CellKind::Desktop}) draw(*cell(kind));
  EXPECT_TRUE(isClear());
}

TEST_F(CellTest, EveryKindTellsItsItemAndIsDrawnAgainByItsView) {
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
  /// As the bundle: paints into the icon's image, and has the host draw that.
  void paintBadges() {
    standIn<void(Id)>("IKIconCell", "drawImage:", [this](const Id& self, const Id& wrapper) {
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

TEST_F(IconCellTest, WhatIsPaintedIntoTheImageLiesUprightOverTheIcon) {
  paintBadges();
  draw(*cell(CellKind::Icon));
  EXPECT_EQ(size, (platform::Size{32, 16}));
  EXPECT_EQ(painted(kRed), QRect(8, 18, 16, 8));
  EXPECT_EQ(painted(kBlue), QRect(8, 26, 16, 8));
}

TEST_F(IconCellTest, OnADisplayOfTwoPixelsAPointItIsAsManyPointsLarge) {
  picture = QImage(128, 128, QImage::Format_ARGB32_Premultiplied);
  picture.setDevicePixelRatio(2);
  picture.fill(Qt::transparent);
  paintBadges();
  draw(*cell(CellKind::Icon));
  EXPECT_EQ(painted(kRed) | painted(kBlue), QRect(16, 36, 32, 32));
}

TEST_F(IconCellTest, ACellThatIsDrawnAgainIsPaintedAnewAtItsNewPlace) {
  paintBadges();
  const auto one = cell(CellKind::Icon);
  draw(*one);
  picture.fill(Qt::transparent);
  icon.translate(10, 5);
  draw(*one);
  EXPECT_EQ(painted(kRed) | painted(kBlue), QRect(18, 23, 16, 16));
}

TEST_F(IconCellTest, WhatIsDrawnWhileTheHostDrawsNothingGoesNowhere) {
  paintBadges();
  const Id one = cell(CellKind::Icon);
  send<void>(one, "drawInteriorWithFrame:inView:", Rect{0, 0, 40, 60}, Id());
  EXPECT_EQ(image, nullptr);
  draw(static_cast<Cell&>(*one));
  picture.fill(Qt::transparent);
  image->lockFocus();
  EXPECT_EQ(platform::GraphicsContext::currentContext(), nullptr);
  image->unlockFocus();
  EXPECT_TRUE(isClear());
}

TEST_F(IconCellTest, AnImageThatIsNotTheIconsIsNotPainted) {
  standIn<void(Id)>("IKIconCell", "drawImage:", [this](const Id& self, const Id& wrapper) {
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
  /// As the bundle: a square 10 points from the left, half-way down.
  void paintBadges() {
    standIn<void(Rect)>("TListViewIconAndTextCell",
                        "drawIconWithFrame:", [this](const Id& self, const Rect& row) {
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

TEST_F(ListCellTest, TheSquareHasTheIconsLowerLeftCorner) {
  box = {8, 10, 24, 24};
  paintBadges();
  draw(*cell(CellKind::List));
  EXPECT_EQ(frame.width, 40);
  EXPECT_EQ(painted(kRed), QRect(8, 18, 16, 8));
  EXPECT_EQ(painted(kBlue), QRect(8, 26, 16, 8));
}

TEST_F(ListCellTest, ALargeIconHasALargeSquare) {
  paintBadges();
  draw(*cell(CellKind::List));
  EXPECT_EQ(painted(kRed) | painted(kBlue), QRect(8, 10, 32, 32));
}

TEST_F(ListCellTest, TheColumnsBesideTheNameAreLeftAlone) {
  item = {4, 2, 20, 60};
  paintBadges();
  draw(*cell(CellKind::List));
  EXPECT_EQ(painted(kRed) | painted(kBlue), QRect(8, 10, 16, 32));
}

TEST_F(ListCellTest, TheThumbnailIsTheHostsOwnAndIsNotReplaced) {
  const Id one = cell(CellKind::List);
  const auto thumbnail = send<ImageRef>(one, "thumbnail");
  ASSERT_NE(thumbnail, nullptr);
  send<void>(one, "setThumbnail:", badge(16));
  EXPECT_EQ(send<ImageRef>(one, "thumbnail"), thumbnail);
}

TEST_F(ListCellTest, NothingIsCurrentOnceTheRowIsDrawn) {
  paintBadges();
  draw(*cell(CellKind::List));
  EXPECT_EQ(platform::GraphicsContext::currentContext(), nullptr);
}

// The desktop.

TEST_F(CellTest, AnIconOfTheDesktopIsDrawnIntoItsOwnLayer) {
  standIn<void(Id, DrawingTarget*)>(
      "TDesktopIcon",
      "drawLayer:inContext:", [](const Id& self, const Id& layer, DrawingTarget* context) {
        send<void>(self, "own", layer, context);
        EXPECT_EQ(self->instanceVariable<Id>("_icon"), layer);
        const auto frame = send<Rect>(layer, "frame");
        EXPECT_EQ(frame, (Rect{8, 10, 32, 32}));
        // What the context draws by itself is upside down where y grows downwards.
        platform::contextDrawImage(*context, {0, 0, frame.width, frame.height},
                                   Bitmap::make(2, 2, {kBlue, kBlue, kRed, kRed}));
      });
  draw(*cell(CellKind::Desktop));
  EXPECT_EQ((painted(kRed) | painted(kBlue)).topLeft(), QPoint(8, 10));
  EXPECT_EQ(picture.pixel(9, 11), kRed);
  EXPECT_EQ(picture.pixel(38, 40), kBlue);
}

}  // namespace
}  // namespace wevora::pcmanfmqt
