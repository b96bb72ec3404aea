#include "Apps/agent_sim/Announcer.h"

#include <vector>

#include <gtest/gtest.h>

#include "Connector/DaemonConnectionNames.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/VirtualClock.h"

namespace wevora::agent_sim {
namespace {

using namespace std::chrono_literals;
using platform::DistributedNotification;

/// Records notifications while it is reachable.
class RecordingCenter : public platform::DistributedNotificationCenter {
 public:
  std::unique_ptr<Observation> observe(const std::string& /*name*/,
                                       const std::optional<std::string>& /*object*/,
                                       Handler /*handler*/) override {
    return nullptr;
  }
  bool post(const DistributedNotification& notification) override {
    if (reachable) posted.push_back(notification);
    return reachable;
  }

  bool reachable = true;
  std::vector<DistributedNotification> posted;
};

class AnnouncerTest : public testing::Test {
 protected:
  std::vector<std::size_t> countsAfter(std::initializer_list<std::chrono::seconds> steps) {
    std::vector<std::size_t> counts{center.posted.size()};
    for (const auto step : steps) {
      dispatch.advance(step);
      counts.push_back(center.posted.size());
    }
    return counts;
  }

  platform::VirtualClock clock;
  platform::ManualDispatch dispatch{clock};
  RecordingCenter center;
  std::vector<std::string> warnings;
  Announcer announcer{center, dispatch, clock, "object",
                      [this](const std::string& text) { warnings.push_back(text); }};
};

TEST_F(AnnouncerTest, TheAgentIsAnnouncedAtOnceAndAfterOneThreeAndTenSeconds) {
  EXPECT_TRUE(announcer.becomeAvailable());
  EXPECT_EQ(countsAfter({1s, 2s, 6s, 1s, 60s}), (std::vector<std::size_t>{1, 2, 3, 3, 4, 4}));
  for (const auto& one : center.posted) {
    EXPECT_EQ(one.name, kIDaemonConnectionBecomeAvailableNotification);
    EXPECT_EQ(one.object, "object");
  }
}

TEST_F(AnnouncerTest, EventsOfOneBurstShareANotification) {
  announcer.event("/a", "Created");
  announcer.event("/b", "Removed");
  dispatch.advance(0s);
  ASSERT_EQ(center.posted.size(), 1U);
  const auto& userInfo = center.posted[0].userInfo;
  EXPECT_EQ(*userInfo.find(kIDaemonConnectionWVREventNotificationPathsKey),
            platform::Value(platform::Array{"/a", "/b"}));
  EXPECT_EQ(*userInfo.find(kIDaemonConnectionWVREventNotificationEventsKey),
            platform::Value(platform::Array{"Created", "Removed"}));
}

TEST_F(AnnouncerTest, EventsArePostedAtMostFiveTimesASecond) {
  for (int i = 0; i < 999; ++i) {
    announcer.event("/" + std::to_string(i), "Changed");
    dispatch.advance(1ms);
  }
  EXPECT_EQ(center.posted.size(), 5U);
  dispatch.advance(1s);
  EXPECT_EQ(center.posted.size(), 6U);
}

TEST_F(AnnouncerTest, APathIsPostedAsSettledFiveSecondsAfterItsLastEvent) {
  announcer.event("/a", "Created");
  dispatch.advance(3s);
  announcer.event("/a", "Synchronized");
  dispatch.advance(4s);
  EXPECT_EQ(center.posted.size(), 2U);
  dispatch.advance(2s);
  ASSERT_EQ(center.posted.size(), 3U);
  const auto& userInfo = center.posted[2].userInfo;
  EXPECT_EQ(*userInfo.find(kIDaemonConnectionWVREventNotificationPathsKey),
            platform::Value(platform::Array{"/a"}));
  EXPECT_EQ(*userInfo.find(kIDaemonConnectionWVREventNotificationEventsKey),
            platform::Value(platform::Array{"Settled"}));
  dispatch.advance(60s);
  EXPECT_EQ(center.posted.size(), 3U);
}

TEST_F(AnnouncerTest, ARemovedItemIsPostedOnce) {
  announcer.event("/a", "Removed");
  dispatch.advance(60s);
  EXPECT_EQ(center.posted.size(), 1U);
}

TEST_F(AnnouncerTest, WithoutABusThereIsOneWarning) {
  center.reachable = false;
  EXPECT_FALSE(announcer.becomeAvailable());
  announcer.event("/a", "Created");
  dispatch.advance(20s);
  EXPECT_EQ(warnings.size(), 1U);
}

TEST_F(AnnouncerTest, AnEventAsGivenIsPostedOnceAndNeverSettles) {
  announcer.eventAsGiven("/v/a", "Created");
  dispatch.advance(60s);
  ASSERT_EQ(center.posted.size(), 1U);
  const auto* words = platform::valueAs<platform::Array>(
      center.posted[0].userInfo, kIDaemonConnectionWVREventNotificationEventsKey);
  ASSERT_NE(words, nullptr);
  EXPECT_EQ(*words, platform::Array{"Created"});
}

}  // namespace
}  // namespace wevora::agent_sim
