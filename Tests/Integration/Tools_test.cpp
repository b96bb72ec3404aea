// The command-line tools, run in a shell on real volumes.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

#include <gtest/gtest.h>

#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Mounts/InMountNamespace.h"
#include "Tests/Mounts/MountedVolume.h"

namespace wevora {
namespace {

namespace fs = std::filesystem;
using testing_host::MountedVolume;
using testing_host::Outcome;
using testing_host::runInShell;

Outcome status(const std::string& arguments) {
  return runInShell(WEVORA_STATUS " " + arguments);
}
Outcome agent(const std::string& arguments) {
  return runInShell(WEVORA_AGENT_SIM " " + arguments);
}

class ToolsTest : public testing::Test {
 protected:
  ToolsTest() {
    mounted = volume.mount();
    fs::create_directories(volume.path("Documents/\xC3\x89t\xC3\xA9 2026"));
    write("Documents/Plan B.txt");
    write("Documents/\xC3\x89t\xC3\xA9 2026/it's.txt");
    write("loose");
  }
  void write(const std::string& name) { std::ofstream(volume.path(name)) << "x"; }
  void initAndScan(const std::string& rules = "") {
    ASSERT_TRUE(mounted);
    ASSERT_EQ(agent("init --account 7 --volume " + volume.path() + rules).status, 0);
    ASSERT_EQ(agent("scan --account 7 --volume " + volume.path()).status, 0);
  }

  MountedVolume volume{MountedVolume::Kind::tmpfs, "/media/wevora-tools"};
  bool mounted = false;
};

TEST_F(ToolsTest, StatusPrintsTheWordOfEachItemAndReflectsTheAgentsMarks) {
  initAndScan(" --include Documents");
  const std::string items = "--account 7 " + volume.path("loose") + " '" +
                            volume.path("Documents/Plan B.txt") + "' " + volume.path("Documents") +
                            " " + volume.path();
  EXPECT_EQ(status(items).output,
            "blue\t/media/wevora-tools/loose\n"
            "blue\t/media/wevora-tools/Documents/Plan B.txt\n"
            "red\t/media/wevora-tools/Documents\n"
            "red\t/media/wevora-tools\n");
  EXPECT_EQ(agent("mark --account 7 --synchronized " + volume.path("Documents")).output,
            "marked 4 items as synchronized\n");
  const auto after = status(items);
  EXPECT_EQ(after.status, 0);
  EXPECT_TRUE(
      after.output.starts_with("blue\t/media/wevora-tools/loose\n"
                               "green\t/media/wevora-tools/Documents/Plan B.txt\n"))
      << after.output;
}

TEST_F(ToolsTest, AVolumeWithoutIncludedFoldersHasNoBadge) {
  initAndScan();
  EXPECT_EQ(status("--account 7 " + volume.path()).output, "none\t/media/wevora-tools\n");
}

TEST_F(ToolsTest, StatusWalksFoldersAndFollowsNoLink) {
  initAndScan(" --include Documents");
  fs::create_directory_symlink(volume.path("Documents"), volume.path("link"));
  EXPECT_EQ(status("--account 7 --recursive " + volume.path()).output,
            "red\t/media/wevora-tools\n"
            "red\t/media/wevora-tools/Documents\n"
            "none\t/media/wevora-tools/Wevora-Account-7.db\n"
            "none\t/media/wevora-tools/link\n"
            "blue\t/media/wevora-tools/loose\n"
            "blue\t/media/wevora-tools/Documents/Plan B.txt\n"
            "red\t/media/wevora-tools/Documents/\xC3\x89t\xC3\xA9 2026\n"
            "blue\t/media/wevora-tools/Documents/\xC3\x89t\xC3\xA9 2026/it's.txt\n");
}

TEST_F(ToolsTest, AVolumeMountedTwiceIsWalkedOnce) {
  initAndScan();
  fs::create_directory(volume.path("again"));
  ASSERT_EQ(::mount(volume.path().c_str(), volume.path("again").c_str(), nullptr, MS_BIND, nullptr),
            0);
  const auto walked = status("--account 7 --recursive " + volume.path());
  ::umount2(volume.path("again").c_str(), MNT_DETACH);
  EXPECT_NE(walked.output.find("/again\n"), std::string::npos);
  EXPECT_EQ(walked.output.find("/again/"), std::string::npos) << walked.output;
}

TEST_F(ToolsTest, JsonIsParsedByAnotherProgram) {
  initAndScan();
  write("odd \"\\\n\xFF name");
  const auto read =
      runInShell(WEVORA_STATUS " --account 7 --format json --recursive " + volume.path() +
                 " | python3 -c 'import json,sys\n"
                 "rows = [json.loads(line) for line in sys.stdin]\n"
                 "odd = [r for r in rows if \"odd\" in r[\"path\"]]\n"
                 "print(len(rows), odd[0][\"path\"].encode(\"utf-8\", \"surrogateescape\"),"
                 " odd[0][\"status\"], set(r[\"database\"] for r in rows))'");
  EXPECT_EQ(read.output,
            "8 b'/media/wevora-tools/odd \"\\\\\\n\\xff name' none "
            "{'/media/wevora-tools/Wevora-Account-7.db'}\n");
}

TEST_F(ToolsTest, AMissingDatabaseIsNullInJson) {
  EXPECT_EQ(status("--account 7 --format=json " + volume.path("loose")).output,
            "{\"path\":\"/media/wevora-tools/loose\",\"status\":\"none\",\"database\":null}\n");
}

TEST_F(ToolsTest, AnUnreadablePathIsReportedAndTheExitStatusIsOne) {
  initAndScan();
  const auto missing = status("--account 7 " + volume.path("missing") + " " + volume.path("loose"));
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.output,
            "unreadable\t/media/wevora-tools/missing\nblue\t/media/wevora-tools/loose\n");
}

TEST_F(ToolsTest, AUsageErrorPrintsOneLineAndTheExitStatusIsTwo) {
  for (const auto& outcome :
       {status("--watch"), status("--account 7"), status("--account 7 --no x"), agent(""),
        agent("init --account 7"), agent("fly --account 7"), agent("mark --account 7 x"),
        agent("scan --account a/b --volume /")}) {
    EXPECT_EQ(outcome.status, 2) << outcome.output;
    EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1) << outcome.output;
  }
}

TEST_F(ToolsTest, HelpAndVersionArePrinted) {
  EXPECT_TRUE(status("--help").output.starts_with("usage: wevora-status"));
  EXPECT_TRUE(agent("--help").output.starts_with("usage: wevora-agent-sim"));
  EXPECT_EQ(status("--version").output, "wevora-status 0.1.0\n");
  EXPECT_EQ(agent("--version").output, "wevora-agent-sim 0.1.0\n");
  EXPECT_EQ(status("--help").status + agent("help").status, 0);
}

TEST_F(ToolsTest, TheAgentReportsErrorsAndChangesNothing) {
  const auto noVolume = agent("init --account 7 --volume " + volume.path("Documents"));
  EXPECT_EQ(noVolume.status, 1);
  EXPECT_NE(noVolume.output.find("is not the mount point of a volume"), std::string::npos);
  EXPECT_EQ(agent("scan --account 7 --volume " + volume.path()).status, 1);
  EXPECT_FALSE(fs::exists(volume.path("Wevora-Account-7.db")));
  initAndScan();
  const auto unknown = agent("mark --account 7 --synchronized " + volume.path("loose") + " " +
                             volume.path("unknown"));
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(status("--account 7 " + volume.path("loose")).output,
            "blue\t/media/wevora-tools/loose\n");
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
