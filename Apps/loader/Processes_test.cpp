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

TEST_F(ProcessesTest, AProgramIsStartedWithItsVariablesInANewSession) {
  const platform::TemporaryFolder folder;
  const std::string fifo = folder.path("output");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  ASSERT_TRUE(processes.start({"sh", "-c",
                               "read -r p c s pp g session rest < /proc/$$/stat; "
                               "[ $session = $$ ] && echo \"$WEVORA_TEST_WORD\" > '" +
                                   fifo + "'"},
                              {{"WEVORA_TEST_WORD", "two words"}}));
  std::ifstream output(fifo);  // blocks until the program writes
  std::string line;
  std::getline(output, line);
  EXPECT_EQ(line, "two words");
}

TEST_F(ProcessesTest, AMissingProgramIsNotStarted) {
  EXPECT_FALSE(processes.start({"/nonexistent/program"}, {}));
}

TEST_F(ProcessesTest, BecomingAMissingProgramReturns) {
  processes.become({"/nonexistent/program"}, {});
}

TEST_F(ProcessesTest, ARunningProcessCausesATimeout) {
  const ChildProcess running({"tail", "-f", "/dev/null"});
  EXPECT_FALSE(processes.ends(running.pid(), 0ms));
  EXPECT_FALSE(running.status());
}

TEST_F(ProcessesTest, TheExitOfAProcessIsAwaited) {
  ChildProcess ending({"tail", "-f", "/dev/null"});
  ending.signal(SIGTERM);
  EXPECT_TRUE(processes.ends(ending.pid(), 60s));
}

TEST_F(ProcessesTest, AnExitedProcessHasEnded) {
  ChildProcess gone({"true"});
  ASSERT_EQ(gone.waitForExit(60s), 0);
  EXPECT_TRUE(processes.ends(gone.pid(), 0ms));
}

}  // namespace
}  // namespace wevora::loader
