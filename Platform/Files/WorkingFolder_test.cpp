#include "Platform/Files/WorkingFolder.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

TEST(WorkingFolderTest, ARelativePathIsMadeAbsolute) {
  EXPECT_EQ(absolutePath("a/../b"), std::filesystem::current_path().string() + "/b");
  EXPECT_EQ(absolutePath(""), std::filesystem::current_path().string());
}

TEST(WorkingFolderTest, AnAbsolutePathIsOnlyStandardized) {
  EXPECT_EQ(absolutePath("/a//b/."), "/a/b");
}

}  // namespace
}  // namespace wevora::platform
