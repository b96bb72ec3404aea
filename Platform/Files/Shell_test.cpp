#include "Platform/Files/Shell.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

std::string contentsOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

void makeProgram(const std::string& path, const std::string& script) {
  std::ofstream(path) << "#!/bin/sh\n" << script << "\n";
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

TEST(ShellTest, WaitsForTheCommandAndReturnsItsExitStatus) {
  const Shell shell;
  EXPECT_EQ(shell.run("exit 7"), 7);
  EXPECT_EQ(shell.run("true"), 0);
  EXPECT_EQ(shell.run("kill -TERM $$"), 128 + SIGTERM);
}

TEST(ShellTest, FindsThePrivateProgramBeforeAnyOther) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path("private"));
  makeProgram(folder.path("private/true"), "exit 9");
  // "true" alone is a shell builtin; "env" searches the path for it.
  EXPECT_EQ(Shell(folder.path("private")).run("env true"), 9);
  EXPECT_EQ(Shell(folder.path("none")).run("env true"), 0);
}

TEST(ShellTest, LeavesTheEnvironmentOfTheProcessUnchanged) {
  const TemporaryFolder folder;
  const std::string before = std::getenv("PATH");
  ASSERT_EQ(Shell(folder.path("private")).run("echo \"$PATH\" >'" + folder.path("out") + "'"), 0);
  EXPECT_EQ(contentsOf(folder.path("out")), folder.path("private") + ":" + before + "\n");
  EXPECT_EQ(std::getenv("PATH"), before);
}

TEST(ShellTest, WithoutASearchPathTheDefaultOneIsUsed) {
  const std::string before = std::getenv("PATH");
  ::unsetenv("PATH");
  EXPECT_EQ(Shell().run("ls / >/dev/null"), 0);
  ::setenv("PATH", before.c_str(), 1);
}

TEST(ShellTest, TheCommandReceivesSignalsThatTheCallingThreadBlocks) {
  sigset_t terminate;
  sigset_t before;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &terminate, &before);
  EXPECT_EQ(Shell().run("kill -TERM $$; exit 0"), 128 + SIGTERM);
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace
}  // namespace wevora::platform
