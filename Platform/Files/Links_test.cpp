#include "Platform/Files/Links.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

namespace fs = std::filesystem;

TEST(AfterOneLink, FollowsExactlyOneLink) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  fs::create_symlink("file", folder.path("first"));
  fs::create_symlink(folder.path("first"), folder.path("second"));
  EXPECT_EQ(afterOneLink(folder.path("second")), folder.path("first"));
  EXPECT_EQ(afterOneLink(folder.path("first")), folder.path("file"));
  EXPECT_EQ(afterOneLink(folder.path("file")), folder.path("file"));
}

TEST(AfterOneLink, ResolvesTheFoldersInTheTargetPath) {
  const TemporaryFolder folder;
  fs::create_directories(folder.path("a/b"));
  std::ofstream(folder.path("a/file")) << "x";
  fs::create_directory_symlink("a/b", folder.path("far"));
  fs::create_symlink("far/../file", folder.path("link"));
  EXPECT_EQ(afterOneLink(folder.path("link")), folder.path("a/file"));
  fs::create_symlink("far/..", folder.path("up"));
  EXPECT_EQ(afterOneLink(folder.path("up")), folder.path("a"));
}

TEST(AfterOneLink, ADanglingLinkIsReturnedUnchanged) {
  const TemporaryFolder folder;
  fs::create_symlink("missing", folder.path("dangling"));
  fs::create_symlink("itself", folder.path("itself"));
  EXPECT_EQ(afterOneLink(folder.path("dangling")), folder.path("dangling"));
  EXPECT_EQ(afterOneLink(folder.path("itself")), folder.path("itself"));
}

TEST(ResolvedPath, KeepsMissingComponents) {
  const TemporaryFolder folder;
  fs::create_directory_symlink(folder.path(), folder.path("self"));
  EXPECT_EQ(resolvedPath(folder.path("self/missing")), folder.path("missing"));
  fs::create_symlink("loop", folder.path("loop"));
  EXPECT_EQ(resolvedPath(folder.path("loop")), folder.path("loop"));
}

}  // namespace
}  // namespace wevora::platform
