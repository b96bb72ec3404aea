#include "Platform/Base/RegularFile.h"

#include <fstream>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

std::string written(const TemporaryFolder& folder, const std::string& bytes) {
  std::ofstream(folder.path("file"), std::ios::binary) << bytes;
  return folder.path("file");
}

TEST(RegularFileTest, AllBytesAreRead) {
  const TemporaryFolder folder;
  const std::string bytes("a\0b\n", 4);
  EXPECT_EQ(contentsOfRegularFile(written(folder, bytes), 4), bytes);
}

TEST(RegularFileTest, AnEmptyFileIsReadAsEmpty) {
  const TemporaryFolder folder;
  EXPECT_EQ(contentsOfRegularFile(written(folder, ""), 4), "");
}

TEST(RegularFileTest, AFileThatIsTooLongIsNotRead) {
  const TemporaryFolder folder;
  EXPECT_EQ(contentsOfRegularFile(written(folder, "abcde"), 4), std::nullopt);
}

TEST(RegularFileTest, AMissingFileAndAFolderAreNotRead) {
  const TemporaryFolder folder;
  EXPECT_EQ(contentsOfRegularFile(folder.path("absent"), 4), std::nullopt);
  EXPECT_EQ(contentsOfRegularFile(folder.path(), 1U << 20U), std::nullopt);
}

TEST(RegularFileTest, APipeWithoutAWriterDoesNotBlock) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(contentsOfRegularFile(folder.path("pipe"), 4), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
