// End-to-end tests of wevora-status with a running agent: real programs, a real volume, and a
// private session bus and settings.

#include <csignal>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/Mounts/MountedVolume.h"
#include "Tests/SessionBus/SessionBus.h"
#include "Tests/SettingsFiles/OwnSettings.h"

namespace wevora::testing_host {
namespace {

class StatusWatchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(system_.mounted);
    ASSERT_TRUE(volume_.mount());
    std::ofstream(letter_) << "x";
  }

  /// Starts an agent and waits until wevora-status finds it.
  std::unique_ptr<ChildProcess> startAgent(const std::string& seed = "0") const {
    auto agent = std::make_unique<ChildProcess>(
        std::vector<std::string>{WEVORA_AGENT_SIM, "serve", "--account", "7", "--seed", seed,
                                 "--volume", volume_.path(), "--sync-rate", "50"});
    while (!agent->status() && runToCompletion({WEVORA_STATUS, volume_.path()}).status == 3) {
    }
    return agent;
  }
  std::unique_ptr<ChildProcess> watch(const std::vector<std::string>& paths) const {
    std::vector<std::string> command = {WEVORA_STATUS, "--watch"};
    command.insert(command.end(), paths.begin(), paths.end());
    return std::make_unique<ChildProcess>(command);
  }
  static std::string errorsOf(const std::vector<std::string>& words) {
    return runToCompletion(words).errors;
  }

  const SessionBus bus_;
  const OwnSettings system_;
  MountedVolume volume_{MountedVolume::Kind::tmpfs, "/media/watched"};
  const std::string letter_ = volume_.path("Letter");
};

TEST_F(StatusWatchTest, WithoutAnAgentTheExitStatusIsThreeWithOneMessage) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{WEVORA_STATUS, letter_}, {WEVORA_STATUS, "--watch", letter_}}) {
    const auto outcome = runToCompletion(words);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(
        outcome.errors,
        "wevora-status: no agent is running (use --account ID to read an account without one)\n");
  }
}

TEST_F(StatusWatchTest, TheRunningAgentDeterminesTheAccount) {
  const auto agent = startAgent("29");
  const auto watcher = watch({letter_});
  ASSERT_TRUE(watcher->waitForOutput("green\t" + letter_));
  const auto outcome = runToCompletion({WEVORA_STATUS, letter_});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output, "green\t" + letter_ + "\n");
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(StatusWatchTest, ALineIsPrintedAgainOnlyWhenItsStatusChanges) {
  const auto agent = startAgent();
  const std::string later = volume_.path("Later");
  const auto watcher = watch({later, letter_});
  ASSERT_TRUE(watcher->waitForOutput("green\t" + letter_));
  ASSERT_TRUE(watcher->waitForOutput("unreadable\t" + later));
  std::ofstream(later) << "x";
  EXPECT_TRUE(watcher->waitForOutput("green\t" + later));
  EXPECT_EQ(errorsOf({WEVORA_BADGES, "off"}), "");
  EXPECT_TRUE(watcher->waitForOutput("none\t" + later));
  EXPECT_TRUE(watcher->waitForOutput("none\t" + letter_));
  watcher->signal(SIGINT);
  EXPECT_EQ(watcher->waitForExit(), 0);

  std::istringstream lines(watcher->output());
  std::map<std::string, std::string> last;
  for (std::string word, path; lines >> word >> path; last[path] = word)
    EXPECT_NE(last[path], word) << path;
  EXPECT_EQ(last[letter_], "none");
}

TEST_F(StatusWatchTest, AFileIsBlueUntilTheAgentHasBackedItUp) {
  const auto agent = startAgent();
  const std::string later = volume_.path("Later");
  const auto watcher = watch({letter_, later});
  ASSERT_TRUE(watcher->waitForOutput("green\t" + letter_));
  // The agent backs up nothing while it is logging in.
  ASSERT_EQ(runToCompletion({WEVORA_AGENT_SIM, "ctl", "status", "1"}).status, 0);
  std::ofstream(later) << "x";
  ASSERT_TRUE(watcher->waitForOutput("blue\t" + later));
  ASSERT_EQ(runToCompletion({WEVORA_AGENT_SIM, "ctl", "status", "2"}).status, 0);
  EXPECT_TRUE(watcher->waitForOutput("blue\t" + later + "\ngreen\t" + later + "\n"));
}

TEST_F(StatusWatchTest, TheBadgeSwitchTurnsTheStatusToNoneAndBack) {
  const auto agent = startAgent();
  const auto watcher = watch({letter_});
  ASSERT_TRUE(watcher->waitForOutput("green\t"));
  EXPECT_EQ(errorsOf({WEVORA_BADGES, "off"}), "");
  ASSERT_TRUE(watcher->waitForOutput("green\t" + letter_ + "\nnone\t" + letter_ + "\n"));
  const auto meanwhile = runToCompletion({WEVORA_STATUS, letter_});
  EXPECT_EQ(meanwhile.output, "none\t" + letter_ + "\n");
  EXPECT_EQ(meanwhile.errors, "wevora-status: badges are switched off (run 'wevora-badges on')\n");
  EXPECT_EQ(errorsOf({WEVORA_BADGES, "on"}), "");
  EXPECT_TRUE(watcher->waitForOutput("none\t" + letter_ + "\ngreen\t" + letter_ + "\n"));
}

TEST_F(StatusWatchTest, AnAgentThatRestartsWithAnotherSeedIsReconnected) {
  auto agent = startAgent("3");
  const auto watcher = watch({letter_});
  ASSERT_TRUE(watcher->waitForOutput("green\t"));
  agent->signal(SIGKILL);
  ASSERT_TRUE(watcher->waitForOutput("none\t" + letter_ + "\n"));
  agent = startAgent("11");
  EXPECT_TRUE(watcher->waitForOutput("none\t" + letter_ + "\ngreen\t" + letter_ + "\n"));
}

TEST_F(StatusWatchTest, ADeletedItemBecomesUnreadable) {
  const auto agent = startAgent();
  const auto watcher = watch({letter_});
  ASSERT_TRUE(watcher->waitForOutput("green\t"));
  std::filesystem::remove(letter_);
  EXPECT_TRUE(watcher->waitForOutput("unreadable\t" + letter_));
}

TEST_F(StatusWatchTest, AnAccountCanBeWatchedWithoutAnAgent) {
  ASSERT_EQ(
      runToCompletion({WEVORA_AGENT_SIM, "init", "--account", "9", "--volume", volume_.path()})
          .status,
      0);
  ASSERT_EQ(
      runToCompletion({WEVORA_AGENT_SIM, "scan", "--account", "9", "--volume", volume_.path()})
          .status,
      0);
  ChildProcess watcher({WEVORA_STATUS, "--account", "9", "--watch", letter_});
  ASSERT_TRUE(watcher.waitForOutput("blue\t" + letter_));
  ASSERT_EQ(runToCompletion({WEVORA_AGENT_SIM, "mark", "--account", "9", "--synchronized", letter_})
                .status,
            0);
  EXPECT_TRUE(watcher.waitForOutput("green\t" + letter_, std::chrono::seconds(20)));
}

}  // namespace
}  // namespace wevora::testing_host

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
