// The loader's command line, with the real file manager.

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/Base/Version.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/PCManFMQtHost/Session.h"

namespace wevora {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing_host::Outcome;
using testing_host::QtSession;
using Plugin = QtSession::Plugin;

const std::string kInstalled =
    "holds version " + std::string(platform::productVersion()) + ", as installed";

Outcome loader(const std::vector<std::string>& arguments,
               const testing_host::Environment& changes = {}) {
  std::vector<std::string> command = {WEVORA_LOADER};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return testing_host::runToCompletion(command, changes);
}

class WevoraLoaderTest : public testing::Test {
 protected:
  static std::string lineOf(const QtSession& session, const std::string& host,
                            const std::string& state) {
    return host + " (process " + std::to_string(session.fileManager().pid()) + "): " + state + "\n";
  }
  static bool comesToReport(const std::string& text) {
    return QtSession::untilOutside(
        [&] { return loader({"--status"}).output.find(text) != std::string::npos; });
  }
  platform::TemporaryFolder folder;
};

TEST_F(WevoraLoaderTest, AUsageErrorIsReportedInOneLine) {
  const QtSession session({});
  const std::string expected = "expected 'nautilus', 'pcmanfm-qt', 'pcmanfm-qt-desktop', ";
  for (const auto& [arguments, message] :
       std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{}, expected},
           {{"explorer"}, expected},
           {{"--status", "all"}, "unexpected argument 'all'"},
           {{"--restart", "all"}, "unexpected argument 'all'"}}) {
    const auto outcome = loader(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.errors, StartsWith("wevora-loader: " + message));
    EXPECT_EQ(outcome.output, "");
  }
}

TEST_F(WevoraLoaderTest, ItPrintsItsUsageAndItsVersion) {
  const QtSession session({});
  for (const char* help : {"--help", "-h"}) {
    EXPECT_EQ(loader({help}).status, 0);
    EXPECT_THAT(loader({help}).output, StartsWith("usage: wevora-loader "));
  }
  EXPECT_EQ(loader({"--version"}).output,
            "wevora-loader " + std::string(platform::productVersion()) + "\n");
}

TEST_F(WevoraLoaderTest, AFileManagerThatIsNotInstalledIsReported) {
  const QtSession session({});
  for (const auto& [name, program] :
       {std::pair("nautilus", "nautilus"), std::pair("pcmanfm-qt", "pcmanfm-qt"),
        std::pair("pcmanfm-qt-desktop", "pcmanfm-qt")}) {
    const auto outcome = loader({name}, {{"PATH", folder.path()}});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors,
              std::string("wevora-loader: ") + program + " cannot be started; is it installed?\n");
  }
}

TEST_F(WevoraLoaderTest, WithoutABundleNoFileManagerIsStarted) {
  const QtSession session({});
  session.hideBundle();
  for (const char* call : {"pcmanfm-qt", "--restart"}) {
    const auto outcome = loader({call});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "wevora-loader: the bundle is not installed\n");
  }
  const auto status = loader({"--status"});
  EXPECT_EQ(status.status, 0);
  EXPECT_EQ(status.output, "installed: none\nno supported file manager is running\n");
}

TEST_F(WevoraLoaderTest, ItStartsTheDesktopToo) {
  QtSession session({.plugin = Plugin::Absent, .loader = WEVORA_LOADER});
  session.openDesktop(folder.path(), 0);
  EXPECT_TRUE(comesToReport(lineOf(session, "pcmanfm-qt-desktop", kInstalled)))
      << loader({"--status"}).output;
  EXPECT_EQ(loader({"--status"}).status, 0);
}

TEST_F(WevoraLoaderTest, TheSecondTimeItWarnsOfAFileManagerThatRunsWithoutTheBundle) {
  QtSession session({.plugin = Plugin::Absent});
  session.open(folder.path(), 0);
  const auto again = session.runWithEnvironment({WEVORA_LOADER, "pcmanfm-qt", folder.path()});
  EXPECT_EQ(again.status, 0);
  EXPECT_THAT(again.errors, HasSubstr("runs without the bundle; what it opens has no badges "
                                      "until it is quit (pcmanfm-qt --quit)\n"));
}

TEST_F(WevoraLoaderTest, ARestartSkipsAFileManagerThatHasTheInstalledVersion) {
  QtSession session({});
  session.open(folder.path(), 0);
  ASSERT_TRUE(comesToReport(lineOf(session, "pcmanfm-qt", kInstalled)));
  const auto restarted = session.runWithEnvironment({WEVORA_LOADER, "--restart"});
  EXPECT_EQ(restarted.status, 0);
  EXPECT_EQ(restarted.output, "no file manager holds another version than the installed one\n");
  EXPECT_THAT(loader({"--status"}).output, HasSubstr(lineOf(session, "pcmanfm-qt", kInstalled)));
}

TEST_F(WevoraLoaderTest, TheDesktopIsStartedAgainAsTheDesktop) {
  QtSession session({});
  session.openDesktop(folder.path(), 0);
  ASSERT_TRUE(comesToReport(lineOf(session, "pcmanfm-qt-desktop", kInstalled)));
  session.installVersion("77.1.2");
  const auto restarted = session.runWithEnvironment({WEVORA_LOADER, "--restart"});
  EXPECT_EQ(restarted.status, 0) << restarted.errors;
  EXPECT_EQ(restarted.output, lineOf(session, "pcmanfm-qt-desktop", "started again"));
  EXPECT_TRUE(QtSession::untilOutside([&] { return session.fileManager().status() == 0; }));
  EXPECT_TRUE(comesToReport("): holds version 77.1.2, as installed"));
  EXPECT_THAT(loader({"--status"}).output, HasSubstr("\npcmanfm-qt-desktop (process "));
  session.runWithEnvironment({"pcmanfm-qt", "--quit"});
}

TEST_F(WevoraLoaderTest, AFileManagerThatDoesNotQuitIsReportedAndKeepsRunning) {
  QtSession session({});
  session.open(folder.path(), 0);
  ASSERT_TRUE(comesToReport(lineOf(session, "pcmanfm-qt", kInstalled)));
  session.installVersion("77.1.2");
  ASSERT_EQ(::kill(session.fileManager().pid(), SIGSTOP), 0);  // it is unresponsive
  testing_host::ChildProcess restart({WEVORA_LOADER, "--restart"},
                                     {{"LD_PRELOAD", session.preloadedWith(WEVORA_SHORT_POLL)}});
  EXPECT_EQ(restart.waitForExit(std::chrono::seconds(60)), 4);
  EXPECT_THAT(restart.errors(), HasSubstr("was asked to quit and has not; close its windows and "
                                          "try again\n"));
  EXPECT_THAT(restart.output(), Not(HasSubstr("started again")));
  EXPECT_FALSE(session.fileManager().status());
  ASSERT_EQ(::kill(session.fileManager().pid(), SIGCONT), 0);
  EXPECT_THAT(
      loader({"--status"}).output,
      testing::AnyOf(HasSubstr(lineOf(session, "pcmanfm-qt",
                                      "holds version " + std::string(platform::productVersion()))),
                     HasSubstr("no supported file manager is running")));
}

}  // namespace
}  // namespace wevora
