#include "Platform/Files/MakeFolder.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Platform/Files/FileStat.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

mode_t modeOf(const std::string& path) {
  const auto status = statOfTarget(path);
  return status ? status->st_mode & 07777U : 0;
}

TEST(MakeFolder, SetsExactlyTheBitsIndependentlyOfTheUmask) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(077);
  EXPECT_TRUE(makeFolder(folder.path("open"), 0777));
  EXPECT_TRUE(makeFolder(folder.path("sticky"), 01750));
  ::umask(before);
  EXPECT_EQ(modeOf(folder.path("open")), 0777U);
  EXPECT_EQ(modeOf(folder.path("sticky")), 01750U);
}

TEST(MakeFolderWithParents, SetsTheSameBitsOnEveryNewFolderEvenOnesThatLockTheOwnerOut) {
  const TemporaryFolder folder;
  EXPECT_TRUE(makeFolderWithParents(folder.path("a/b//c/"), 0500));
  for (const auto* made : {"a", "a/b", "a/b/c"}) EXPECT_EQ(modeOf(folder.path(made)), 0500U);
  for (const auto* made : {"a", "a/b", "a/b/c"}) ::chmod(folder.path(made).c_str(), 0700);
}

TEST(MakeFolderWithParents, LeavesExistingFoldersUnchanged) {
  const TemporaryFolder folder;
  ASSERT_TRUE(makeFolder(folder.path("a"), 0711));
  EXPECT_TRUE(makeFolderWithParents(folder.path("a"), 0700));
  EXPECT_TRUE(makeFolderWithParents(folder.path("a/b"), 0700));
  EXPECT_EQ(modeOf(folder.path("a")), 0711U);
  EXPECT_TRUE(makeFolderWithParents("/", 0700));
}

TEST(MakeFolderWithParents, IsFalseBelowAFile) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  EXPECT_FALSE(makeFolderWithParents(folder.path("file"), 0700));
  EXPECT_FALSE(makeFolderWithParents(folder.path("file/a"), 0700));
  EXPECT_FALSE(makeFolderWithParents("", 0700));
}

int refused(const char*, mode_t) {
  errno = EPERM;
  return -1;
}
int broken(const char*, mode_t) {
  errno = EIO;
  return -1;
}

TEST(MakeFolderTest, AVolumeWithoutPermissionBitsIsNotAFailure) {
  const TemporaryFolder folder;
  EXPECT_TRUE(makeFolder(folder.path("a"), 0700, refused));
  EXPECT_TRUE(makeFolderWithParents(folder.path("b/c"), 0700, refused));
  EXPECT_TRUE(isDirectory(statOfTarget(folder.path("a"))));
  EXPECT_TRUE(isDirectory(statOfTarget(folder.path("b/c"))));
}

TEST(MakeFolderTest, AFailureLeavesNoPartialResult) {
  const TemporaryFolder folder;
  EXPECT_FALSE(makeFolder(folder.path("a"), 0700, broken));
  EXPECT_FALSE(makeFolderWithParents(folder.path("a/b"), 0500, broken));
  EXPECT_FALSE(makeFolderWithParents(folder.path("a/b/" + std::string(300, 'x')), 0500));
  EXPECT_FALSE(statOfTarget(folder.path("a")));
}

}  // namespace
}  // namespace wevora::platform
