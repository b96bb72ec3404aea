#include "CommonCode/Tools/FileTools/WVRFileTools.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora {
namespace {

TEST(FilePathBelongsToDirectory, ComparesByWholeComponents) {
  EXPECT_TRUE(WVRFileTools::filePathBelongsToDirectoryAtPath("/a/b/c", "/a/b"));
  EXPECT_FALSE(WVRFileTools::filePathBelongsToDirectoryAtPath("/a/bc", "/a/b"));
  EXPECT_TRUE(WVRFileTools::filePathBelongsToDirectoryAtPath("/a/b", "/a/b/"));
  EXPECT_TRUE(WVRFileTools::filePathBelongsToDirectoryAtPath("/x", "/"));
  EXPECT_FALSE(WVRFileTools::filePathBelongsToDirectoryAtPath("/a", "/a/b"));
  EXPECT_FALSE(WVRFileTools::filePathBelongsToDirectoryAtPath("/A/b/c", "/a/b"));
}

TEST(FilePathBelongsToDirectory, ComparesTheStandardizedTexts) {
  EXPECT_TRUE(WVRFileTools::filePathBelongsToDirectoryAtPath("/a//x/../b/./c", "/a/b//"));
  EXPECT_TRUE(WVRFileTools::filePathBelongsToDirectoryAtPath("/", "/"));
}

TEST(PathIsEqualToPath, ATrailingSeparatorIsIgnoredOnlyForAnExistingFolder) {
  const platform::TemporaryFolder folder;
  EXPECT_TRUE(WVRFileTools::pathIsEqualToPath(folder.path(), folder.path() + "/"));
  EXPECT_FALSE(WVRFileTools::pathIsEqualToPath("/missing/a", "/missing/a/"));
  // One trailing separator is ignored, a second one is not.
  EXPECT_FALSE(WVRFileTools::pathIsEqualToPath(folder.path(), folder.path() + "//"));
  EXPECT_FALSE(WVRFileTools::pathIsEqualToPath(folder.path() + "/", folder.path() + "//"));
  EXPECT_FALSE(WVRFileTools::pathIsEqualToPath("/", "//"));
  EXPECT_TRUE(WVRFileTools::pathIsEqualToPath("/missing/a", "/missing/a"));
}

TEST(PathIsEqualToPath, OtherDifferencesOfTheTextsMatter) {
  const platform::TemporaryFolder folder;
  std::filesystem::create_directory(folder.path("a"));
  EXPECT_FALSE(WVRFileTools::pathIsEqualToPath(folder.path("a"), folder.path("A")));
  EXPECT_FALSE(WVRFileTools::pathIsEqualToPath(folder.path("a"), folder.path("/a")));
  EXPECT_FALSE(WVRFileTools::pathIsEqualToPath(folder.path("a"), folder.path("a/../a")));
}

TEST(PathIsEqualToPath, LinksAreResolvedOnlyOnRequest) {
  const platform::TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  std::filesystem::create_symlink("file", folder.path("link"));
  EXPECT_TRUE(WVRFileTools::pathIsEqualToPath(folder.path("link"), folder.path("file"), true));
  EXPECT_FALSE(WVRFileTools::pathIsEqualToPath(folder.path("link"), folder.path("file"), false));
}

TEST(FileSize, OfAMissingPathIsZero) {
  const platform::TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "12345";
  EXPECT_EQ(WVRFileTools::fileSize(folder.path("file")), 5U);
  EXPECT_EQ(WVRFileTools::fileSize(folder.path("missing")), 0U);
}

TEST(FileSize, OfALinkIsThatOfTheLink) {
  const platform::TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "1234567890";
  std::filesystem::create_symlink("file", folder.path("link"));
  EXPECT_EQ(WVRFileTools::fileSize(folder.path("link")), 4U);
}

TEST(FileLastModificationDate, OfAMissingPathIsEmpty) {
  const platform::TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  EXPECT_GT(WVRFileTools::fileLastModificationDate(folder.path("file")), platform::Date{1.6e9});
  EXPECT_EQ(WVRFileTools::fileLastModificationDate(folder.path("missing")), std::nullopt);
}

TEST(GetMD5FromFile, OfAnEmptyFileIsTheDigestOfAnEmptyString) {
  const platform::TemporaryFolder folder;
  std::ofstream(folder.path("empty")).close();
  EXPECT_EQ(WVRFileTools::getMD5FromFile(folder.path("empty")), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(GetMD5FromFile, OfAMissingFileIsTheErrorText) {
  EXPECT_EQ(WVRFileTools::getMD5FromFile("/missing/file"), "ERROR GETTING FILE MD5");
}

TEST(GetMD5FromFile, ReadsBeyondOneChunk) {
  const platform::TemporaryFolder folder;
  std::ofstream(folder.path("large")) << std::string(40000, 'a');
  EXPECT_EQ(WVRFileTools::getMD5FromFile(folder.path("large")), "15725c9aaac02fda4d458ad5416f6992");
}

TEST(GetUUID, IsCanonicalAndNew) {
  const auto uuid = WVRFileTools::getUUID();
  ASSERT_EQ(uuid.size(), 36U);
  for (const std::size_t dash : {8U, 13U, 18U, 23U}) EXPECT_EQ(uuid[dash], '-');
  EXPECT_EQ(std::ranges::count(uuid, '-'), 4);
  EXPECT_EQ(uuid.find_first_not_of("0123456789abcdefABCDEF-"), std::string::npos);
  EXPECT_NE(uuid, WVRFileTools::getUUID());
}

TEST(HomeDirectoryCString, IsNullWithoutHome) {
  const char* home = std::getenv("HOME");
  const std::string before = home == nullptr ? "" : home;
  ::setenv("HOME", "/home/somebody", 1);
  EXPECT_STREQ(WVRFileTools::homeDirectoryCString(), "/home/somebody");
  ::unsetenv("HOME");
  EXPECT_EQ(WVRFileTools::homeDirectoryCString(), nullptr);
  if (home != nullptr) ::setenv("HOME", before.c_str(), 1);
}

TEST(ShortFileNameForAbsolutePath, IsTheLastComponent) {
  EXPECT_EQ(WVRFileTools::shortFileNameForAbsolutePath("/a/b.txt"), "b.txt");
}

TEST(FileURLToString, IsThePathOfTheUrl) {
  EXPECT_EQ(WVRFileTools::fileURLToString("file://localhost/a%20b"), "/a b");
  EXPECT_EQ(WVRFileTools::fileURLToString("file:///a/b/"), "/a/b");
  EXPECT_EQ(WVRFileTools::fileURLToString("file:///"), "/");
  EXPECT_EQ(WVRFileTools::fileURLToString("http://localhost/a"), std::nullopt);
}

TEST(GetMD5FromFile, AReadErrorReturnsNoPartialDigest) {
  // Address 0 of a process is not mapped, so the read fails with EIO.
  EXPECT_EQ(WVRFileTools::getMD5FromFile("/proc/self/mem"), WVRFileTools::kMD5Error);
}

}  // namespace
}  // namespace wevora
