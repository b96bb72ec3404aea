#include "Platform/Files/FileStat.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "Platform/Base/Descriptor.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

TEST(FileStatTest, StatOfTargetFollowsLinksAndRecognizesFolders) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  std::filesystem::create_symlink(folder.path(), folder.path("link"));
  std::filesystem::create_symlink("nowhere", folder.path("dangling"));
  EXPECT_TRUE(statOfTarget(folder.path("file")));
  EXPECT_FALSE(isDirectory(statOfTarget(folder.path("file"))));
  EXPECT_TRUE(isRegularFile(statOfTarget(folder.path("file"))));
  EXPECT_TRUE(isDirectory(statOfTarget(folder.path("link"))));
  EXPECT_FALSE(statOfTarget(folder.path("dangling")));
  EXPECT_FALSE(statOfTarget(""));
}

TEST(FileStatTest, AMissingItemIsNotReadable) {
  const TemporaryFolder folder;
  EXPECT_TRUE(isReadableFileAtPath(folder.path()));
  EXPECT_FALSE(isReadableFileAtPath(folder.path("missing")));
  EXPECT_FALSE(isReadableFileAtPath(""));
}

TEST(FileStatTest, StatOfALinkIsThatOfTheLinkItself) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "12345";
  std::filesystem::create_symlink("file", folder.path("link"));
  EXPECT_EQ(statOf(folder.path("file"))->st_size, 5);
  EXPECT_EQ(statOf(folder.path("link"))->st_size, 4);
  EXPECT_FALSE(statOf(folder.path("missing")));
  EXPECT_FALSE(statOf(""));
}

TEST(FileStatTest, APathANameInAFolderAndADescriptorIdentifyTheSameItem) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  const Descriptor open(::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY));
  const auto byPath = statOf(folder.path("file"));
  const auto byName = statOf(open.get(), "file");
  const auto byDescriptor = statOf(Descriptor(::open(folder.path("file").c_str(), O_RDONLY)).get());
  ASSERT_TRUE(byPath && byName && byDescriptor);
  EXPECT_EQ(ItemIdentity::of(*byPath), ItemIdentity::of(*byName));
  EXPECT_EQ(ItemIdentity::of(*byPath), ItemIdentity::of(*byDescriptor));
}

TEST(FileStatTest, AFailureSetsErrno) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  EXPECT_FALSE(statOf(folder.path("missing")));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(statOfTarget(folder.path("file/below")));
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_FALSE(statOf(-1));
  EXPECT_EQ(errno, EBADF);
}

}  // namespace
}  // namespace wevora::platform
