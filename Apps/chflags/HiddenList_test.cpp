#include "Apps/chflags/HiddenList.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/Files/Hidden.h"
#include "Platform/Support/TemporaryFolder.h"

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

TEST_F(SetHiddenTest, OtherLinesStayAsTheyAre) {
  writeList("# note\n\nb\r\nlast");
  setHidden(file("a"), true);
  EXPECT_EQ(list(), "# note\n\nb\r\nlast\na\n");
  setHidden(folder.path("a"), false);
  EXPECT_EQ(list(), "# note\n\nb\r\nlast\n");
}

TEST_F(SetHiddenTest, EveryLineOfTheNameIsTakenOut) {
  writeList("a\nb\na\nab\na");
  setHidden(folder.path("a"), false);
  EXPECT_EQ(list(), "b\nab\n");
}

TEST_F(SetHiddenTest, AListInWhichNothingIsLeftIsRemoved) {
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
  struct stat facts {};
  ::stat(folder.path(".hidden").c_str(), &facts);
  EXPECT_EQ(facts.st_mode & 07777U, 0604U);
}

TEST_F(SetHiddenTest, FoldersAndLinksAreMarkedThemselves) {
  fs::create_directory(folder.path("folder"));
  fs::create_directory_symlink("folder", folder.path("link"));
  setHidden(folder.path("folder/"), true);
  setHidden(folder.path("link"), true);
  EXPECT_EQ(list(), "folder\nlink\n");
  setHidden(folder.path("folder/."), false);
  EXPECT_EQ(list(), "link\n");
}

TEST_F(SetHiddenTest, AListBehindALinkIsChangedWhereItIs) {
  fs::create_directory(folder.path("elsewhere"));
  std::ofstream(folder.path("elsewhere/list")) << "b\n";
  fs::create_symlink("elsewhere/list", folder.path(".hidden"));
  setHidden(file("a"), true);
  EXPECT_TRUE(fs::is_symlink(folder.path(".hidden")));
  EXPECT_EQ(list(), "b\na\n");
}

TEST_F(SetHiddenTest, ANameWithALineEndIsRefused) {
  EXPECT_THAT(failureOf(file("a\nb")), testing::HasSubstr("line end"));
  EXPECT_THAT(failureOf(folder.path("a\nb"), false), testing::HasSubstr("line end"));
  EXPECT_EQ(items(), 1U);
}

TEST_F(SetHiddenTest, WhatDoesNotExistIsNotHiddenButCanBeTakenOut) {
  EXPECT_THAT(failureOf(folder.path("gone")), testing::HasSubstr("No such file"));
  EXPECT_THAT(failureOf(folder.path("gone/deeper"), false), testing::HasSubstr("folder"));
  EXPECT_THAT(failureOf("/"), testing::HasSubstr("in no folder"));
  EXPECT_THAT(failureOf(""), testing::HasSubstr("in no folder"));
  writeList("gone\n");
  EXPECT_EQ(failureOf(folder.path("gone"), false), "");
  EXPECT_EQ(items(), 0U);
}

TEST_F(SetHiddenTest, AListThatIsNoFileIsLeftAlone) {
  fs::create_directory(folder.path(".hidden"));
  EXPECT_NE(failureOf(file("a")), "");
  fs::remove(folder.path(".hidden"));
  ASSERT_EQ(::mkfifo(folder.path(".hidden").c_str(), 0600), 0);
  EXPECT_THAT(failureOf(folder.path("a")), testing::HasSubstr("no file"));
  fs::remove(folder.path(".hidden"));
  fs::create_symlink(".hidden", folder.path(".hidden"));
  EXPECT_NE(failureOf(folder.path("a")), "");
  EXPECT_EQ(items(), 2U);
}

TEST_F(SetHiddenTest, ProgramsThatMarkAtOnceLoseNothing) {
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
