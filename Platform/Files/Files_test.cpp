#include "Platform/Files/Files.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::platform {
namespace {

TEST(Files, ExistenceFollowsLinksAndTellsFolders) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "x";
  std::filesystem::create_symlink(folder.path(), folder.path("link"));
  std::filesystem::create_symlink("nowhere", folder.path("dangling"));
  EXPECT_TRUE(fileExistsAtPath(folder.path("file")).exists);
  EXPECT_FALSE(fileExistsAtPath(folder.path("file")).isDirectory);
  EXPECT_TRUE(fileExistsAtPath(folder.path("link")).isDirectory);
  EXPECT_FALSE(fileExistsAtPath(folder.path("dangling")).exists);
  EXPECT_FALSE(fileExistsAtPath("").exists);
}

TEST(Files, WhatIsMissingIsNotReadable) {
  const TemporaryFolder folder;
  EXPECT_TRUE(isReadableFileAtPath(folder.path()));
  EXPECT_FALSE(isReadableFileAtPath(folder.path("missing")));
  EXPECT_FALSE(isReadableFileAtPath(""));
}

TEST(Files, AttributesAreThoseOfTheLinkItself) {
  const TemporaryFolder folder;
  std::ofstream(folder.path("file")) << "12345";
  std::filesystem::create_symlink("file", folder.path("link"));
  EXPECT_EQ(attributesOfItemAtPath(folder.path("file"))->size, 5U);
  EXPECT_EQ(attributesOfItemAtPath(folder.path("link"))->size, 4U);
  EXPECT_FALSE(attributesOfItemAtPath(folder.path("missing")));
}

}  // namespace
}  // namespace wevora::platform
