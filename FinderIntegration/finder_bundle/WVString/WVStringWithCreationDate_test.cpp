#include "FinderIntegration/finder_bundle/WVString/WVStringWithCreationDate.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/VirtualClock.h"

namespace wevora {
namespace {

TEST(WVStringWithCreationDateTest, EqualityIgnoresTheDates) {
  platform::VirtualClock clock;
  const WVStringWithCreationDate early("green", clock);
  clock.advance(std::chrono::seconds(5));
  const WVStringWithCreationDate late("green", clock);
  const WVStringWithCreationDate other("blue", clock);
  EXPECT_TRUE(early.isEqualTo(&late));
  EXPECT_FALSE(early.isEqualTo(&other));
  EXPECT_FALSE(early.isEqualTo(nullptr));
  EXPECT_TRUE(late.isEqualToString("green"));
  EXPECT_FALSE(late.isEqualToString("Green"));
  EXPECT_EQ(late.creationDate() - early.creationDate(), 5.0);
}

}  // namespace
}  // namespace wevora
