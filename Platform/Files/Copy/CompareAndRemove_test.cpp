#include <climits>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Platform/Files/Copy/DirectoryCursor.h"
#include "Platform/Files/Copy/FileOperations.h"
#include "Platform/Files/Copy/ProtectedItem.h"
#include "Tests/Doubles/DescriptorLimit.h"
#include "Tests/Doubles/FaultInjectingFileSystem.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

namespace fs = std::filesystem;
using Call = FaultInjectingFileSystem::Call;

class ItemsTest : public testing::Test {
 protected:
  void write(const std::string& name, const std::string& text) {
    std::ofstream(folder.path(name)) << text;
  }
  bool equal(const std::string& a, const std::string& b) {
    return operations.contentsEqual(folder.path(a), folder.path(b));
  }
  bool affects(const std::string& removed, const std::string& item) {
    return ProtectedItem(folder.path(item)).isAffectedByRemoving(folder.path(removed));
  }

  const TemporaryFolder folder;
  FaultInjectingFileSystem calls;
  SystemFileOperations operations{calls};
};

using DirectoryCursorTest = ItemsTest;
using ContentsEqualTest = ItemsTest;
using RemoveItemTest = ItemsTest;
using ProtectedItemTest = ItemsTest;

TEST_F(ContentsEqualTest, FilesAreComparedByteByByte) {
  const std::string text(300'000, 'a');
  write("a", text);
  write("same", text);
  write("longer", text + "a");
  write("other", std::string(299'999, 'a') + "b");
  write("empty", "");
  EXPECT_TRUE(equal("a", "same"));
  EXPECT_TRUE(equal("a", "a"));
  EXPECT_TRUE(equal("empty", "empty"));
  EXPECT_FALSE(equal("a", "longer"));
  EXPECT_FALSE(equal("longer", "a"));
  EXPECT_FALSE(equal("a", "other"));
  EXPECT_FALSE(equal("a", "empty"));
  EXPECT_FALSE(equal("a", "missing"));
  EXPECT_FALSE(equal("missing", "missing"));
}

TEST_F(ContentsEqualTest, LinksAreComparedByTheirTargetText) {
  write("a", "x");
  fs::create_symlink("a", folder.path("link"));
  fs::create_symlink("a", folder.path("same"));
  fs::create_symlink("./a", folder.path("other"));
  EXPECT_TRUE(equal("link", "same"));
  EXPECT_FALSE(equal("link", "other"));
  EXPECT_FALSE(equal("link", "a"));
}

TEST_F(ContentsEqualTest, FoldersAreComparedRecursively) {
  for (const std::string top : {"a", "b"}) {
    fs::create_directories(folder.path(top + "/deep/deeper"));
    write(top + "/deep/deeper/file", "x");
    write(top + "/.hidden", "y");
  }
  EXPECT_TRUE(equal("a", "b"));
  write("b/deep/deeper/file", "z");
  EXPECT_FALSE(equal("a", "b"));
  write("b/deep/deeper/file", "x");
  write("b/deep/more", "");
  EXPECT_FALSE(equal("a", "b"));
  EXPECT_FALSE(equal("b", "a"));
}

TEST_F(ContentsEqualTest, DifferentKindsAndPipesAreNeverEqual) {
  write("a", "");
  fs::create_directory(folder.path("folder"));
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(equal("a", "folder"));
  EXPECT_FALSE(equal("pipe", "pipe"));
}

TEST_F(ContentsEqualTest, AnUnreadableFileIsNotEqual) {
  write("a", "x");
  calls.fail(Call::read, EIO, 1);
  EXPECT_FALSE(equal("a", "a"));
  calls.fail(Call::openToRead, EACCES);
  EXPECT_FALSE(equal("a", "a"));
}

TEST_F(RemoveItemTest, RemovesALinkNotItsTarget) {
  write("a", "x");
  fs::create_symlink("a", folder.path("link"));
  EXPECT_FALSE(operations.removeItem(folder.path("link")));
  EXPECT_TRUE(fs::exists(folder.path("a")));
  EXPECT_FALSE(fs::exists(fs::symlink_status(folder.path("link"))));
}

TEST_F(RemoveItemTest, RemovesFoldersOnWhichTheOwnerHasNoWritePermission) {
  fs::create_directories(folder.path("a/locked/deeper"));
  write("a/locked/deeper/file", "x");
  ::chmod(folder.path("a/locked/deeper").c_str(), 0);
  ::chmod(folder.path("a/locked").c_str(), 0500);
  EXPECT_FALSE(operations.removeItem(folder.path("a")));
  EXPECT_FALSE(fs::exists(folder.path("a")));
}

TEST_F(RemoveItemTest, AMissingItemIsNotAnError) {
  EXPECT_FALSE(operations.removeItem(folder.path("missing")));
  EXPECT_FALSE(operations.removeItem(folder.path("missing/deeper")));
}

TEST_F(RemoveItemTest, ATrailingSeparatorDoesNotFollowALink) {
  fs::create_directory(folder.path("a"));
  write("a/file", "x");
  fs::create_directory_symlink("a", folder.path("link"));
  EXPECT_FALSE(operations.removeItem(folder.path("link//")));
  EXPECT_FALSE(fs::exists(fs::symlink_status(folder.path("link"))));
  EXPECT_TRUE(fs::exists(folder.path("a/file")));
}

TEST_F(RemoveItemTest, AFolderIsRemovedOnlyByItsOwnName) {
  fs::create_directory(folder.path("a"));
  write("a/file", "x");
  fs::create_directory_symlink("a", folder.path("link"));
  for (const auto* path : {"link/.", "a/.", "a/./", "a/.."})
    EXPECT_EQ(operations.removeItem(folder.path(path)), std::errc::invalid_argument);
  EXPECT_EQ(operations.removeItem(""), std::errc::invalid_argument);
  EXPECT_EQ(operations.removeItem("/"), std::errc::invalid_argument);
  EXPECT_TRUE(fs::exists(folder.path("a/file")));
}

TEST_F(RemoveItemTest, RemovesATreeDeeperThanTheDescriptorAndPathLimits) {
  constexpr rlim_t kDescriptors = 64;
  constexpr std::size_t kDepth = 100;
  const std::string name(100, 'd');
  static_assert(kDepth > kDescriptors);
  ASSERT_GT(kDepth * name.size(), std::size_t{PATH_MAX});
  Descriptor current(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY));
  for (std::size_t depth = 0; depth < kDepth; ++depth) {
    ASSERT_EQ(::mkdirat(current.get(), name.c_str(), 0700), 0);
    current = Descriptor(::openat(current.get(), name.c_str(), O_RDONLY | O_DIRECTORY));
  }
  const DescriptorLimit limit(kDescriptors);
  EXPECT_FALSE(operations.removeItem(folder.path(name)));
  EXPECT_FALSE(fs::exists(folder.path(name)));
}

TEST_F(DirectoryCursorTest, LeavingAFolderThatWasMovedMeanwhileFails) {
  std::string deep = "a";
  DirectoryCursor cursor(Descriptor(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY)));
  fs::create_directory(folder.path("other"));
  fs::create_directory(folder.path("a"));
  ASSERT_FALSE(cursor.enter("a"));
  for (std::size_t depth = 0; depth < DirectoryCursor::kOpenFolders + 1; ++depth) {
    deep += "/d";
    fs::create_directory(folder.path(deep));
    ASSERT_FALSE(cursor.enter("d"));
  }
  fs::rename(folder.path("a/d/d"), folder.path("other/d"));
  std::error_code failed;
  while (!failed && cursor.depth() > 0) failed = cursor.leave();
  EXPECT_EQ(failed.value(), ESTALE);
}

TEST_F(DirectoryCursorTest, LinksAreNotEntered) {
  fs::create_directory(folder.path("a"));
  fs::create_directory_symlink("a", folder.path("link"));
  DirectoryCursor cursor(Descriptor(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY)));
  EXPECT_TRUE(cursor.enter("link"));
  EXPECT_EQ(cursor.depth(), 0U);
}

TEST_F(ProtectedItemTest, IsAffectedWhenItOrAFolderAboveItIsRemoved) {
  fs::create_directories(folder.path("a/deep"));
  write("a/deep/file", "x");
  EXPECT_TRUE(affects("a/deep/file", "a/deep/file"));
  EXPECT_TRUE(affects("a/deep/file", "a/./deep//file"));
  EXPECT_TRUE(affects("a", "a/deep/file"));
  EXPECT_TRUE(affects("a/deep/file", "a"));
  EXPECT_TRUE(affects("a/", "a"));
  write("b", "x");
  EXPECT_FALSE(affects("b", "a"));
  EXPECT_FALSE(affects("b", "missing"));
  EXPECT_FALSE(affects("missing", "a"));
}

TEST_F(ProtectedItemTest, IsRecognizedByAnotherPath) {
  fs::create_directories(folder.path("a"));
  write("a/file", "x");
  fs::create_directory_symlink("a", folder.path("link"));
  EXPECT_TRUE(affects("link/file", "a/file"));
  EXPECT_TRUE(affects("a", "link/file"));
  EXPECT_TRUE(affects("link/file", "a"));
  EXPECT_TRUE(affects("a/file", "a/../link/file"));
}

TEST_F(ProtectedItemTest, TheTargetOfALinkIsProtectedToo) {
  write("a", "x");
  fs::create_symlink("a", folder.path("link"));
  EXPECT_TRUE(affects("a", "link"));
  EXPECT_FALSE(affects("link", "a"));
}

TEST_F(ProtectedItemTest, ATrailingSeparatorDoesNotFollowALink) {
  fs::create_directory(folder.path("a"));
  fs::create_directory_symlink("a", folder.path("link"));
  EXPECT_FALSE(affects("link/", "a"));
  EXPECT_TRUE(affects("a/", "link/"));
}

TEST_F(ProtectedItemTest, AMovedItemIsStillProtected) {
  fs::create_directories(folder.path("a/deep"));
  fs::create_directory(folder.path("b"));
  const ProtectedItem item(folder.path("a/deep"));
  EXPECT_FALSE(item.isAffectedByRemoving(folder.path("b")));
  fs::rename(folder.path("a/deep"), folder.path("b/moved"));
  EXPECT_TRUE(item.isAffectedByRemoving(folder.path("b")));
  EXPECT_TRUE(item.isAffectedByRemoving(folder.path("b/moved")));
  write("a/deep", "another");
  EXPECT_TRUE(item.isAffectedByRemoving(folder.path("b")));
  EXPECT_FALSE(item.isAffectedByRemoving(folder.path("c")));
}

TEST_F(ProtectedItemTest, AnItemThatCannotBeExaminedIsProtected) {
  fs::create_symlink("loop", folder.path("loop"));
  write("b", "x");
  EXPECT_TRUE(affects("b", "loop/a"));
  EXPECT_TRUE(affects("loop/b", "b"));
  EXPECT_FALSE(affects("b", "b/a"));
}

TEST_F(ProtectedItemTest, OneOfTwoHardLinksCanBeRemoved) {
  write("a", "x");
  fs::create_hard_link(folder.path("a"), folder.path("b"));
  EXPECT_FALSE(affects("b", "a"));
  EXPECT_TRUE(affects("a", "a"));
}

}  // namespace
}  // namespace wevora::platform
