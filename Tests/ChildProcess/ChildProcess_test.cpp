#include "Tests/ChildProcess/ChildProcess.h"

#include <csignal>

#include <gtest/gtest.h>

namespace wevora::testing_host {
namespace {

TEST(ChildProcessTest, OutputErrorsAndStatusAreSeparate) {
  const auto outcome = runToCompletion({"sh", "-c", "echo said; echo complained >&2; exit 3"});
  EXPECT_EQ(outcome.output, "said\n");
  EXPECT_EQ(outcome.errors, "complained\n");
  EXPECT_EQ(outcome.status, 3);
}

TEST(ChildProcessTest, AMissingProgramExitsAsInAShell) {
  EXPECT_EQ(runToCompletion({"/no/such/program"}).status, 127);
}

TEST(ChildProcessTest, VariablesAreSetAndRemoved) {
  ::setenv("WEVORA_TEST_A", "a", 1);
  const auto outcome = runToCompletion({"sh", "-c", "echo ${WEVORA_TEST_A-none} $WEVORA_TEST_B"},
                                       {{"WEVORA_TEST_A", std::nullopt}, {"WEVORA_TEST_B", "b"}});
  EXPECT_EQ(outcome.output, "none b\n");
}

TEST(ChildProcessTest, OutputIsAvailableWhileTheChildRuns) {
  ChildProcess child({"sh", "-c", "echo ready; exec sleep 1000"});
  EXPECT_TRUE(child.waitForOutput("ready\n"));
  EXPECT_FALSE(child.status());
  child.signal(SIGTERM);
  EXPECT_EQ(child.waitForExit(), 128 + SIGTERM);
  EXPECT_FALSE(child.waitForOutput("never"));
}

TEST(ChildProcessTest, OutputLargerThanAPipeBufferIsRead) {
  EXPECT_EQ(runToCompletion({"sh", "-c", "head -c 1000000 /dev/zero"}).output.size(), 1000000U);
}

}  // namespace
}  // namespace wevora::testing_host
