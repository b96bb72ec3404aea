#include "Apps/chflags/HiddenList.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/Base/Descriptor.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Files/Hidden.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::chflags {
namespace {

namespace fs = std::filesystem;

class SetHiddenTest : public testing::Test {
 protected:
  std::string file(const std::string& name) {
    std::ofstream(folder.path(name)) << "x";
    return folder.path(name);
  }
  void writeList(const std::string& text) { std::ofstream(folder.path(".hidden")) << text; }
  std::string list() {
    std::ostringstream text;
    text << std::ifstream(folder.path(".hidden")).rdbuf();
    return text.str();
  }
  std::string failureOf(const std::string& path, bool hidden = true) {
    try {
      setHidden(path, hidden);
    } catch (const std::runtime_error& failure) {
      return failure.what();
    }
    return {};
  }
  std::size_t items() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()));
  }

  const platform::TemporaryFolder folder;
};

TEST_F(SetHiddenTest, AnItemIsListedOnceAndInvisible) {
  setHidden(file("two words "), true);
  setHidden(folder.path("two words "), true);
  EXPECT_EQ(list(), "two words \n");
  EXPECT_TRUE(platform::isHiddenItem(folder.path("two words ")));
  setHidden(file("\xFF'\""), true);
  EXPECT_EQ(list(), "two words \n\xFF'\"\n");
  EXPECT_EQ(items(), 3U);
}

TEST_F(SetHiddenTest, OtherLinesStayUnchanged) {
  writeList("# comment\n\nb\r\nlast");
  setHidden(file("a"), true);
  EXPECT_EQ(list(), "# comment\n\nb\r\nlast\na\n");
  setHidden(folder.path("a"), false);
  EXPECT_EQ(list(), "# comment\n\nb\r\nlast\n");
}

TEST_F(SetHiddenTest, EveryLineWithTheNameIsRemoved) {
  writeList("a\nb\na\nab\na");
  setHidden(folder.path("a"), false);
  EXPECT_EQ(list(), "b\nab\n");
}

TEST_F(SetHiddenTest, AnEmptyListIsRemoved) {
  setHidden(file("a"), true);
  setHidden(folder.path("a"), false);
  EXPECT_EQ(items(), 1U);
  setHidden(folder.path("a"), false);
  EXPECT_EQ(items(), 1U);
}

TEST_F(SetHiddenTest, TheListKeepsItsMode) {
  writeList("b\n");
  ::chmod(folder.path(".hidden").c_str(), 0604);
  setHidden(file("a"), true);
  const auto status = platform::statOfTarget(folder.path(".hidden"));
  ASSERT_TRUE(status);
  EXPECT_EQ(status->st_mode & 07777U, 0604U);
}

TEST_F(SetHiddenTest, FoldersAreHiddenByNameAndLinksAreNotFollowed) {
  fs::create_directory(folder.path("folder"));
  fs::create_directory_symlink("folder", folder.path("link"));
  setHidden(folder.path("folder/"), true);
  setHidden(folder.path("link"), true);
  EXPECT_EQ(list(), "folder\nlink\n");
  setHidden(folder.path("folder/."), false);
  EXPECT_EQ(list(), "link\n");
}

TEST_F(SetHiddenTest, AListBehindALinkIsChangedAtTheTarget) {
  fs::create_directory(folder.path("elsewhere"));
  std::ofstream(folder.path("elsewhere/list")) << "b\n";
  fs::create_symlink("elsewhere/list", folder.path(".hidden"));
  setHidden(file("a"), true);
  EXPECT_TRUE(fs::is_symlink(folder.path(".hidden")));
  EXPECT_EQ(list(), "b\na\n");
}

TEST_F(SetHiddenTest, ANameWithALineBreakIsRefused) {
  EXPECT_THAT(failureOf(file("a\nb")), testing::HasSubstr("line break"));
  EXPECT_THAT(failureOf(folder.path("a\nb"), false), testing::HasSubstr("line break"));
  EXPECT_EQ(items(), 1U);
}

TEST_F(SetHiddenTest, AMissingItemCannotBeHiddenButCanBeRemovedFromTheList) {
  EXPECT_THAT(failureOf(folder.path("gone")), testing::HasSubstr("No such file"));
  EXPECT_THAT(failureOf(folder.path("gone/deeper"), false),
              testing::HasSubstr("cannot open the folder"));
  EXPECT_THAT(failureOf("/"), testing::HasSubstr("does not name an item"));
  EXPECT_THAT(failureOf(""), testing::HasSubstr("does not name an item"));
  writeList("gone\n");
  EXPECT_EQ(failureOf(folder.path("gone"), false), "");
  EXPECT_EQ(items(), 0U);
}

TEST_F(SetHiddenTest, AListThatIsNotARegularFileStaysUnchanged) {
  fs::create_directory(folder.path(".hidden"));
  EXPECT_NE(failureOf(file("a")), "");
  fs::remove(folder.path(".hidden"));
  ASSERT_EQ(::mkfifo(folder.path(".hidden").c_str(), 0600), 0);
  EXPECT_THAT(failureOf(folder.path("a")), testing::HasSubstr("not a regular file"));
  fs::remove(folder.path(".hidden"));
  fs::create_symlink(".hidden", folder.path(".hidden"));
  EXPECT_NE(failureOf(folder.path("a")), "");
  EXPECT_EQ(items(), 2U);
}

TEST_F(SetHiddenTest, AListBehindADanglingLinkIsCreatedAtTheTarget) {
  fs::create_directory(folder.path("elsewhere"));
  fs::create_symlink("elsewhere/list", folder.path(".hidden"));
  setHidden(file("a"), true);
  EXPECT_TRUE(fs::is_symlink(folder.path(".hidden")));
  EXPECT_TRUE(fs::is_regular_file(folder.path("elsewhere/list")));
  EXPECT_EQ(list(), "a\n");
}

TEST_F(SetHiddenTest, TheListKeepsItsOwnerAndItsMode) {
  writeList("b\n");
  const auto path = folder.path(".hidden");
  const bool given = ::chown(path.c_str(), 4711, 4712) == 0;
  EXPECT_EQ(given, ::geteuid() == 0);
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  const auto before = platform::statOfTarget(path);
  setHidden(file("a"), true);
  const auto after = platform::statOfTarget(path);
  ASSERT_TRUE(before && after);
  EXPECT_NE(before->st_ino, after->st_ino);
  EXPECT_EQ(before->st_uid, after->st_uid);
  EXPECT_EQ(before->st_gid, after->st_gid);
  EXPECT_EQ(before->st_mode, after->st_mode);
}

TEST_F(SetHiddenTest, AConcurrentReaderReadsTheCompleteOldList) {
  writeList("b\nc\n");
  std::ifstream reader(folder.path(".hidden"));
  std::string line;
  std::getline(reader, line);
  setHidden(file("a"), true);
  std::ostringstream rest;
  rest << reader.rdbuf();
  EXPECT_EQ(line + "\n" + rest.str(), "b\nc\n");
  EXPECT_EQ(list(), "b\nc\na\n");
}

TEST_F(SetHiddenTest, ALockHeldByAnotherProgramTimesOut) {
  const platform::Descriptor other(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY));
  ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
  try {
    setHidden(file("a"), true, std::chrono::milliseconds(0));
    ADD_FAILURE() << "not refused";
  } catch (const std::runtime_error& failure) {
    EXPECT_THAT(failure.what(), testing::HasSubstr("another program has locked the folder"));
  }
  EXPECT_EQ(items(), 1U);
}

TEST_F(SetHiddenTest, AListAboveTheSizeLimitIsNeitherReadNorWritten) {
  writeList("b\n");
  fs::resize_file(folder.path(".hidden"), platform::HiddenNames::kMaxListBytes + 1);
  EXPECT_THAT(failureOf(file("a")), testing::HasSubstr("exceeds the limit of 4 MiB"));
  fs::resize_file(folder.path(".hidden"), platform::HiddenNames::kMaxListBytes);
  EXPECT_THAT(failureOf(file("a")), testing::HasSubstr("exceeds the limit of 4 MiB"));
  EXPECT_EQ(fs::file_size(folder.path(".hidden")), platform::HiddenNames::kMaxListBytes);
  EXPECT_EQ(items(), 2U);
}

TEST_F(SetHiddenTest, ConcurrentChangesLoseNothing) {
  constexpr int kThreads = 4;
  constexpr int kNames = 25;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread)
    threads.emplace_back([this, thread] {
      for (int i = 0; i < kNames; ++i)
        setHidden(file(std::to_string(thread) + "-" + std::to_string(i)), true);
    });
  for (auto& thread : threads) thread.join();
  const platform::HiddenNames names(folder.path());
  for (int thread = 0; thread < kThreads; ++thread)
    for (int i = 0; i < kNames; ++i)
      EXPECT_TRUE(names.hides(std::to_string(thread) + "-" + std::to_string(i)));
}

}  // namespace
}  // namespace wevora::chflags
