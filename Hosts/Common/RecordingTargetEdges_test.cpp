#include <initializer_list>

#include <gtest/gtest.h>

#include "Hosts/Common/RecordingTarget.h"

namespace wevora::hosts {
namespace {

using platform::Rect;

constexpr platform::Size kSize{.width = 8, .height = 6};

bool isWithin(std::initializer_list<Rect> drawings) {
  RecordingTarget noting(1);
  for (const auto& drawing : drawings)
    noting.drawBitmap(platform::Bitmap::make(1, 1, {0xFFFF0000}),
                      {.source = {0, 0, 1, 1}, .destination = drawing});
  return noting.isWithin(kSize);
}

TEST(RecordingTargetEdgesTest, NothingDrawnIsWithin) {
  EXPECT_TRUE(isWithin({}));
}

TEST(RecordingTargetEdgesTest, WhatReachesUpToTheEdgesIsWithin) {
  EXPECT_TRUE(isWithin({{0, 0, 8, 6}}));
  EXPECT_TRUE(isWithin({{0, 0, 2, 2}, {6, 4, 2, 2}}));
}

TEST(RecordingTargetEdgesTest, WhatReachesBeyondAnyEdgeIsNotWithin) {
  for (const Rect& beyond :
       {Rect{-0.5, 0, 2, 2}, Rect{0, -0.5, 2, 2}, Rect{6.5, 0, 2, 2}, Rect{0, 4.5, 2, 2}})
    EXPECT_FALSE(isWithin({beyond})) << beyond.x << " " << beyond.y;
}

TEST(RecordingTargetEdgesTest, OneDrawingBeyondAmongOthersIsSeen) {
  EXPECT_FALSE(isWithin({{0, 0, 2, 2}, {0, 0, 9, 2}, {2, 2, 2, 2}}));
}

}  // namespace
}  // namespace wevora::hosts
