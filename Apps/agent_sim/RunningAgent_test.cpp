#include "Apps/agent_sim/RunningAgent.h"

#include <vector>

#include <gtest/gtest.h>

#include "Connector/DaemonConnectionNames.h"
#include "Tests/Doubles/ManualDispatch.h"
#include "Tests/Doubles/VirtualClock.h"

namespace wevora::agent_sim {
namespace {

using std::chrono_literals::operator""s;

/// Records the names of notifications.
struct RecordingCenter : platform::DistributedNotificationCenter {
  std::vector<std::string> posted;
  std::unique_ptr<Observation> observe(const std::string& /*name*/,
                                       const std::optional<std::string>& /*object*/,
                                       Handler /*handler*/) override {
    return nullptr;
  }
  bool post(const platform::DistributedNotification& notification) override {
    posted.push_back(notification.name);
    return true;
  }
};

TEST(RunningAgentTest, ARequestedEventIsPostedOnceAndNotAsSettled) {
  platform::VirtualClock clock;
  platform::ManualDispatch dispatch(clock);
  RecordingCenter center;
  ServeOptions options;
  options.account = "7";
  RunningAgent agent(options, "object", {dispatch, clock, center, [] {}});
  agent.postEvent("Created", {"/a"});
  dispatch.advance(60s);
  EXPECT_EQ(center.posted, std::vector<std::string>{kIDaemonConnectionWVREventNotification});
}

}  // namespace
}  // namespace wevora::agent_sim
