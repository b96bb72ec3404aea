// The commands to a running agent.

#include <filesystem>

#include "Tests/AgentIntegration/AgentTest.h"

namespace wevora {
namespace {

using testing_host::AgentTest;

class AgentControlTest : public AgentTest {};

TEST_F(AgentControlTest, StatusIsChangedAndTold) {
  const auto agent = served();
  ASSERT_TRUE(agent);
  for (const auto* status : {"1", "0", "2"}) {
    heard.clear();
    EXPECT_EQ(ctl({"status", status}).status, 0);
    EXPECT_EQ(asked("connectionStatus"), "(" + std::string(status) + ",)\n");
    EXPECT_TRUE(hears(kIDaemonConnectionConnectionStatusChangedNotification));
  }
}

TEST_F(AgentControlTest, AnotherAccountIsToldOnceItsDatabaseIsThere) {
  write("file");
  const auto agent = keeping();
  ASSERT_TRUE(agent);
  EXPECT_EQ(ctl({"account", "9"}).status, 0);
  EXPECT_NE(asked("accountInfo").find("'kClientIDKey': <'9'>"), std::string::npos);
  ASSERT_TRUE(hears(kIDaemonConnectionAccountInfoChangedNotification));
  EXPECT_TRUE(std::filesystem::exists(volume.path("Wevora-Account-9.db")));
  // What makes file managers draw their windows anew.
  EXPECT_TRUE(hears(kIDaemonConnectionConnectionStatusChangedNotification));
  heard.clear();
  write("new");
  ASSERT_TRUE(hearsOf("new", "Synchronized"));
  EXPECT_TRUE(isKnown("file", "9"));
  EXPECT_TRUE(isKnown("new", "9"));
  EXPECT_FALSE(isKnown("new", "7"));
}

TEST_F(AgentControlTest, AnEventIsToldAsItWasGiven) {
  const auto agent = served();
  ASSERT_TRUE(agent);
  EXPECT_EQ(ctl({"event", "Removed", "/a b", "/\xC3\xA9"}).status, 0);
  ASSERT_TRUE(hears(kIDaemonConnectionWVREventNotification));
  const auto told = *std::find_if(heard.begin(), heard.end(), [](const auto& one) {
    return one.name == kIDaemonConnectionWVREventNotification;
  });
  EXPECT_EQ(told.paths, (std::vector<std::string>{"/a b", "/\xC3\xA9"}));
  EXPECT_EQ(told.words, std::vector<std::string>{"Removed"});
  EXPECT_EQ(told.object, "com.Wevora.client.zoe.0." + std::to_string(agent->pid()));
}

TEST_F(AgentControlTest, QuitEndsTheAgentAndLeavesNoSocket) {
  const auto agent = served();
  ASSERT_TRUE(agent);
  EXPECT_EQ(ctl({"quit"}).status, 0);
  EXPECT_EQ(agent->waitForEnd(), 0);
  EXPECT_FALSE(std::filesystem::exists(socket()));
}

TEST_F(AgentControlTest, WithoutASeedTheFirstAgentThatAnswersIsMeant) {
  const auto three = served({"--seed", "3"});
  const auto five = served({"--seed", "5"});
  ASSERT_TRUE(three && five);
  EXPECT_EQ(ctl({"quit"}).status, 0);
  EXPECT_EQ(three->waitForEnd(), 0);
  EXPECT_FALSE(five->status());
  EXPECT_EQ(ctl({"--seed", "3", "quit"}).status, 3);
  EXPECT_EQ(ctl({"--seed", "5", "quit"}).status, 0);
  EXPECT_EQ(five->waitForEnd(), 0);
}

TEST_F(AgentControlTest, WhereNoAgentRunsOneLineSaysSo) {
  const auto outcome = ctl({"status", "2"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.errors, "wevora-agent-sim: no agent of user zoe runs\n");
}

TEST_F(AgentControlTest, AWrongCallEndsWithTwoAndOneLine) {
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
    EXPECT_EQ(testing_host::ranToItsEnd(serveCommand(words)).status, 2) << words.front();
}

}  // namespace
}  // namespace wevora
