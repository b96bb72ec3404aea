// Commands to a running agent.

#include <filesystem>

#include "Tests/AgentIntegration/AgentTest.h"

namespace wevora {
namespace {

using testing_host::AgentTest;

class AgentControlTest : public AgentTest {};

TEST_F(AgentControlTest, TheStatusIsChangedAndAnnounced) {
  const auto agent = served();
  ASSERT_TRUE(agent);
  for (const auto* status : {"1", "0", "2"}) {
    received.clear();
    EXPECT_EQ(ctl({"status", status}).status, 0);
    EXPECT_EQ(asked("connectionStatus"), "(" + std::string(status) + ",)\n");
    EXPECT_TRUE(receives(kIDaemonConnectionConnectionStatusChangedNotification));
  }
}

TEST_F(AgentControlTest, AnotherAccountIsAnnouncedWhenItsDatabaseExists) {
  write("file");
  const auto agent = following();
  ASSERT_TRUE(agent);
  EXPECT_EQ(ctl({"account", "9"}).status, 0);
  EXPECT_NE(asked("accountInfo").find("'kClientIDKey': <'9'>"), std::string::npos);
  ASSERT_TRUE(receives(kIDaemonConnectionAccountInfoChangedNotification));
  EXPECT_TRUE(std::filesystem::exists(volume.path("Wevora-Account-9.db")));
  // File managers redraw for a changed status.
  EXPECT_TRUE(receives(kIDaemonConnectionConnectionStatusChangedNotification));
  received.clear();
  write("new");
  ASSERT_TRUE(receivesEvent("new", "Synchronized"));
  EXPECT_TRUE(isKnown("file", "9"));
  EXPECT_TRUE(isKnown("new", "9"));
  EXPECT_FALSE(isKnown("new", "7"));
}

TEST_F(AgentControlTest, AnEventIsPostedAsGiven) {
  const auto agent = served();
  ASSERT_TRUE(agent);
  EXPECT_EQ(ctl({"event", "Removed", "/a b", "/\xC3\xA9"}).status, 0);
  ASSERT_TRUE(receives(kIDaemonConnectionWVREventNotification));
  const auto posted = *std::find_if(received.begin(), received.end(), [](const auto& one) {
    return one.name == kIDaemonConnectionWVREventNotification;
  });
  EXPECT_EQ(posted.paths, (std::vector<std::string>{"/a b", "/\xC3\xA9"}));
  EXPECT_EQ(posted.words, std::vector<std::string>{"Removed"});
  EXPECT_EQ(posted.object, "com.Wevora.client.zoe.0." + std::to_string(agent->pid()));
}

TEST_F(AgentControlTest, QuitEndsTheAgentAndRemovesItsSocket) {
  const auto agent = served();
  ASSERT_TRUE(agent);
  EXPECT_EQ(ctl({"quit"}).status, 0);
  EXPECT_EQ(agent->waitForExit(), 0);
  EXPECT_FALSE(std::filesystem::exists(socket()));
}

TEST_F(AgentControlTest, WithoutASeedTheFirstAgentThatRespondsIsUsed) {
  const auto three = served({"--seed", "3"});
  const auto five = served({"--seed", "5"});
  ASSERT_TRUE(three && five);
  EXPECT_EQ(ctl({"quit"}).status, 0);
  EXPECT_EQ(three->waitForExit(), 0);
  EXPECT_FALSE(five->status());
  EXPECT_EQ(ctl({"--seed", "3", "quit"}).status, 3);
  EXPECT_EQ(ctl({"--seed", "5", "quit"}).status, 0);
  EXPECT_EQ(five->waitForExit(), 0);
}

TEST_F(AgentControlTest, WithoutAnAgentTheStatusIsThreeAndOneLineSaysWhy) {
  const auto outcome = ctl({"status", "2"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.errors,
            "wevora-agent-sim: no agent of user zoe is running (start one with 'wevora-agent-sim "
            "serve')\n");
}

TEST_F(AgentControlTest, AUsageErrorExitsWithTwoAndPrintsOneLine) {
  using Words = std::vector<std::string>;
  for (const auto& words : {Words{},
                            {"fly"},
                            {"status"},
                            {"status", "3"},
                            {"status", "-1"},
                            {"account"},
                            {"account", "a/b"},
                            {"account", ""},
                            {"event", "Removed"},
                            {"quit", "now"},
                            {"--seed", "30", "quit"},
                            {"--seed"}}) {
    const auto outcome = ctl(words);
    EXPECT_EQ(outcome.status, 2) << outcome.errors;
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1);
  }
  for (const auto& words : {Words{"--seed", "30"},
                            {"--sync-rate", "-1"},
                            {"--sync-rate", "x"},
                            {"--user", "a/b"},
                            {"--account", ""},
                            {"more"}})
    EXPECT_EQ(testing_host::runToCompletion(serveCommand(words)).status, 2) << words.front();
}

}  // namespace
}  // namespace wevora
