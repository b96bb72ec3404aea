#include "Apps/loader/Processes.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::loader {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
using testing_host::ChildProcess;

class ProcessesTest : public testing::Test {
 protected:
  ~ProcessesTest() override { ::unsetenv("WEVORA_TEST_WORD"); }
  MachineProcesses processes;
};

TEST_F(ProcessesTest, AProgramIsStartedWithItsVariablesInASessionOfItsOwn) {
  const platform::TemporaryFolder folder;
  const std::string answers = folder.path("answers");
  ASSERT_EQ(::mkfifo(answers.c_str(), 0600), 0);
  ASSERT_TRUE(processes.start({"sh", "-c",
                               "read -r p c s pp g session rest < /proc/$$/stat; "
                               "[ $session = $$ ] && echo \"$WEVORA_TEST_WORD\" > '" +
                                   answers + "'"},
                              {{"WEVORA_TEST_WORD", "two words"}}));
  std::ifstream answer(answers);  // waits for the program to say it
  std::string line;
  std::getline(answer, line);
  EXPECT_EQ(line, "two words");
}

TEST_F(ProcessesTest, AProgramThatIsMissingIsNotStarted) {
  EXPECT_FALSE(processes.start({"/nonexistent/program"}, {}));
}

TEST_F(ProcessesTest, AProgramThatIsMissingIsNotBecome) {
  processes.become({"/nonexistent/program"}, {});  // comes back
}

TEST_F(ProcessesTest, AProcessThatRunsHasNotEndedInTime) {
  const ChildProcess running({"tail", "-f", "/dev/null"});
  EXPECT_FALSE(processes.ends(running.pid(), 0ms));
  EXPECT_FALSE(running.status());
}

TEST_F(ProcessesTest, TheEndOfAProcessIsWaitedFor) {
  ChildProcess ending({"tail", "-f", "/dev/null"});
  ending.signal(SIGTERM);
  EXPECT_TRUE(processes.ends(ending.pid(), 60s));
}

TEST_F(ProcessesTest, AProcessThatIsGoneHasEnded) {
  ChildProcess gone({"true"});
  ASSERT_EQ(gone.waitForEnd(60s), 0);
  EXPECT_TRUE(processes.ends(gone.pid(), 0ms));
}

}  // namespace
}  // namespace wevora::loader
