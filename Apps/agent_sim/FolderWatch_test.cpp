#include "Apps/agent_sim/FolderWatch.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/ServiceThread/ServiceThread.h"

namespace wevora::agent_sim {
namespace {

using platform::TemporaryFolder;

namespace fs = std::filesystem;
using testing_host::runMainLoopUntil;
using Kind = FolderEvent::Kind;

class FolderWatchTest : public testing::Test {
 protected:
  void write(const std::string& name) { std::ofstream(folder.path(name)) << "x"; }
  bool reported(const FolderEvent& event) {
    return runMainLoopUntil(
        [&] { return std::find(events.begin(), events.end(), event) != events.end(); });
  }

  TemporaryFolder folder;
  std::vector<FolderEvent> events;
  FolderWatch watch{[this](const FolderEvent& event) { events.push_back(event); }};
};

TEST_F(FolderWatchTest, CreatedChangedAndDeletedItemsAreReported) {
  ASSERT_FALSE(watch.watch(folder.path()));
  write("file");
  EXPECT_TRUE(reported({Kind::item, folder.path(), "file"}));
  events.clear();
  fs::remove(folder.path("file"));
  EXPECT_TRUE(reported({Kind::item, folder.path(), "file"}));
}

TEST_F(FolderWatchTest, ACreatedOrDeletedFolderIsReportedAsAFolder) {
  ASSERT_FALSE(watch.watch(folder.path()));
  fs::create_directory(folder.path("sub"));
  EXPECT_TRUE(reported({Kind::folderArrived, folder.path(), "sub"}));
  fs::remove(folder.path("sub"));
  EXPECT_TRUE(reported({Kind::folderLeft, folder.path(), "sub"}));
}

TEST_F(FolderWatchTest, AMovedFolderIsWatchedUnderItsNewPath) {
  fs::create_directories(folder.path("a/inner"));
  ASSERT_FALSE(watch.watch(folder.path()));
  ASSERT_FALSE(watch.watch(folder.path("a")));
  ASSERT_FALSE(watch.watch(folder.path("a/inner")));
  fs::rename(folder.path("a"), folder.path("b"));
  ASSERT_FALSE(watch.watch(folder.path("b")));
  EXPECT_TRUE(reported({Kind::folderArrived, folder.path(), "b"}));
  EXPECT_EQ(watch.watched(), 2U);  // a/inner is not watched under its new path yet
  write("b/file");
  EXPECT_TRUE(reported({Kind::item, folder.path("b"), "file"}));
}

TEST_F(FolderWatchTest, ForgettingAFolderSparesSiblingsWithTheSamePrefix) {
  for (const auto* name : {"a", "a/x", "a b", "ab"}) {
    fs::create_directories(folder.path(name));
    ASSERT_FALSE(watch.watch(folder.path(name)));
  }
  watch.forgetBelow(folder.path("a"));
  EXPECT_EQ(watch.watched(), 2U);
  write("ab/file");
  EXPECT_TRUE(reported({Kind::item, folder.path("ab"), "file"}));
}

TEST_F(FolderWatchTest, AHandlerThatDestroysTheWatchGetsNoFurtherEvents) {
  int calls = 0;
  std::optional<FolderWatch> ended;
  ended.emplace([&](const FolderEvent&) {
    ++calls;
    ended.reset();
  });
  ASSERT_FALSE(ended->watch(folder.path()));
  ASSERT_FALSE(watch.watch(folder.path()));
  write("first");
  write("second");
  ASSERT_TRUE(runMainLoopUntil([&] { return !ended; }));
  write("third");
  ASSERT_TRUE(reported({Kind::item, folder.path(), "third"}));
  EXPECT_EQ(calls, 1);
}

TEST_F(FolderWatchTest, OnlyAFolderCanBeWatched) {
  write("file");
  fs::create_directory_symlink(folder.path(), folder.path("link"));
  EXPECT_EQ(watch.watch(folder.path("file")), std::errc::not_a_directory);
  EXPECT_EQ(watch.watch(folder.path("link")), std::errc::not_a_directory);
  EXPECT_EQ(watch.watch(folder.path("missing")), std::errc::no_such_file_or_directory);
}

}  // namespace
}  // namespace wevora::agent_sim
