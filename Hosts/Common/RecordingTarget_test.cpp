#include "Hosts/Common/RecordingTarget.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Graphics/GraphicsContext.h"
#include "Platform/Graphics/Image.h"

namespace wevora::hosts {
namespace {

using platform::Bitmap;
using platform::BitmapDrawing;
using platform::BitmapRef;
using platform::CompositingOperation;
using platform::Rect;

/// A fake frame of a host, whose y grows downwards.
class Frame : public platform::DrawingTarget {
 public:
  struct Drawn {
    BitmapRef bitmap;
    BitmapDrawing drawing;
  };

  double deviceScale() const override { return 1; }
  bool isFlipped() const override { return true; }
  void drawBitmap(const BitmapRef& bitmap, const BitmapDrawing& drawing) override {
    drawn.push_back({bitmap, drawing});
  }
  void save() override {}
  void restore() override {}

  std::vector<Drawn> drawn;
};

BitmapRef square(std::size_t side = 2) {
  return Bitmap::make(side, side, std::vector<std::uint32_t>(side * side, 0xFFFFFFFF));
}

TEST(RecordingTargetTest, DrawingsAreReplayedInTheirOrder) {
  RecordingTarget recording(1);
  const auto first = square();
  const auto second = square();
  recording.drawBitmap(first, {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}});
  recording.drawBitmap(second, {.source = {0, 0, 2, 2}, .destination = {0, 0, 2, 2}});
  Frame frame;
  recording.replay(frame, 2);
  ASSERT_EQ(frame.drawn.size(), 2U);
  EXPECT_EQ(frame.drawn[0].bitmap, first);
  EXPECT_EQ(frame.drawn[1].bitmap, second);
}

TEST(RecordingTargetTest, DrawingsAtTheBottomAreReplayedAtTheBottomOfTheFrame) {
  RecordingTarget recording(1);
  recording.drawBitmap(square(), {.source = {0, 0, 2, 2}, .destination = {3, 5, 10, 20}});
  Frame frame;
  recording.replay(frame, 100);
  EXPECT_EQ(frame.drawn[0].drawing.destination, (Rect{3, 75, 10, 20}));
}

TEST(RecordingTargetTest, OnlyThePositionOfADrawingIsFlipped) {
  const BitmapDrawing drawing{.source = {1, 0, 1, 2},
                              .destination = {0, 0, 2, 2},
                              .upsideDown = true,
                              .operation = CompositingOperation::Copy,
                              .fraction = 0.25};
  RecordingTarget recording(1);
  recording.drawBitmap(square(), drawing);
  Frame frame;
  recording.replay(frame, 2);
  const auto& drawn = frame.drawn[0].drawing;
  EXPECT_EQ(drawn.source, drawing.source);
  EXPECT_EQ(drawn.upsideDown, drawing.upsideDown);
  EXPECT_EQ(drawn.operation, drawing.operation);
  EXPECT_EQ(drawn.fraction, drawing.fraction);
}

TEST(RecordingTargetTest, ARecordingCanBeReplayedRepeatedly) {
  RecordingTarget recording(1);
  recording.drawBitmap(square(), {.source = {0, 0, 2, 2}, .destination = {0, 4, 2, 2}});
  Frame frame;
  recording.replay(frame, 10);
  recording.replay(frame, 10);
  ASSERT_EQ(frame.drawn.size(), 2U);
  EXPECT_EQ(frame.drawn[0].drawing.destination, frame.drawn[1].drawing.destination);
}

TEST(RecordingTargetTest, AnEmptyRecordingDrawsNothing) {
  Frame frame;
  RecordingTarget(1).replay(frame, 10);
  EXPECT_TRUE(frame.drawn.empty());
}

TEST(RecordingTargetTest, AnUnflippedImageIsUprightInARecording) {
  platform::Image image({2, 2});
  const std::vector<platform::ImageRep> reps = {{.bitmap = square(), .size = {2, 2}}};
  image.addRepresentations(reps);
  RecordingTarget recording(1);
  {
    const platform::CurrentTarget current(recording);
    image.drawInRect({0, 0, 2, 2}, {}, CompositingOperation::SourceOver, 1.0);
  }
  Frame frame;
  recording.replay(frame, 2);
  EXPECT_FALSE(frame.drawn.at(0).drawing.upsideDown);
}

TEST(RecordingTargetTest, TheRepresentationIsSelectedByTheFramesScale) {
  platform::Image image({2, 2});
  const std::vector<platform::ImageRep> reps = {{.bitmap = square(2), .size = {2, 2}},
                                                {.bitmap = square(4), .size = {2, 2}}};
  image.addRepresentations(reps);
  for (const double scale : {1.0, 2.0}) {
    RecordingTarget recording(scale);
    {
      const platform::CurrentTarget current(recording);
      image.drawInRect({0, 0, 2, 2}, {}, CompositingOperation::SourceOver, 1.0);
    }
    Frame frame;
    recording.replay(frame, 2);
    EXPECT_EQ(static_cast<double>(frame.drawn.at(0).bitmap->width()), 2 * scale);
  }
}

/// The size of the recorded area.
constexpr platform::Size kSize{.width = 8, .height = 6};

bool isWithin(std::initializer_list<Rect> drawings) {
  RecordingTarget recording(1);
  for (const auto& drawing : drawings)
    recording.drawBitmap(platform::Bitmap::make(1, 1, {0xFFFF0000}),
                         {.source = {0, 0, 1, 1}, .destination = drawing});
  return recording.isWithin(kSize);
}

TEST(RecordingTargetTest, AnEmptyRecordingIsWithin) {
  EXPECT_TRUE(isWithin({}));
}

TEST(RecordingTargetTest, DrawingsThatTouchTheEdgesAreWithin) {
  EXPECT_TRUE(isWithin({{0, 0, 8, 6}}));
  EXPECT_TRUE(isWithin({{0, 0, 2, 2}, {6, 4, 2, 2}}));
}

TEST(RecordingTargetTest, DrawingsThatCrossAnyEdgeAreNotWithin) {
  for (const Rect& beyond :
       {Rect{-0.5, 0, 2, 2}, Rect{0, -0.5, 2, 2}, Rect{6.5, 0, 2, 2}, Rect{0, 4.5, 2, 2}})
    EXPECT_FALSE(isWithin({beyond})) << beyond.x << " " << beyond.y;
}

TEST(RecordingTargetTest, OneDrawingThatCrossesAnEdgeIsDetectedAmongOthers) {
  EXPECT_FALSE(isWithin({{0, 0, 2, 2}, {0, 0, 9, 2}, {2, 2, 2, 2}}));
}

}  // namespace
}  // namespace wevora::hosts
