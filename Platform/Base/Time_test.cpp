#include <gtest/gtest.h>

#include "Platform/Base/TimeZones.h"
#include "Tests/Doubles/VirtualClock.h"

namespace wevora::platform {
namespace {

using std::chrono_literals::operator""ms;

TEST(VirtualClock, MovesOnlyWhenAdvanced) {
  VirtualClock clock(Date{100});
  EXPECT_EQ(clock.now(), Date{100});
  clock.advance(1500ms);
  EXPECT_EQ(clock.now(), Date{101.5});
  EXPECT_EQ(clock.uptime(), 1500ms);
}

TEST(SystemClock, NeverRunsBackwardsInUptime) {
  const SystemClock clock;
  const auto before = clock.uptime();
  EXPECT_LE(before, clock.uptime());
  EXPECT_GT(clock.now(), Date{1.6e9});
}

TEST(SystemTimeZones, ReturnTheOffsetsOfTheZoneInTheEnvironment) {
  ::setenv("TZ", "+05:30", 1);
  const auto zone = SystemTimeZones().systemTimeZone();
  ::unsetenv("TZ");
  ASSERT_TRUE(zone);
  EXPECT_EQ(zone->offsetAtUtc(0), 19800);
  EXPECT_EQ(zone->offsetAtLocal(0), 19800);
}

}  // namespace
}  // namespace wevora::platform
