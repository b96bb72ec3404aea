#include <gtest/gtest.h>

#include "WevoraAgent/WevoraAgent/Classes/Categories/NSString+MountPoints.h"
#include "WevoraAgent/WevoraAgent/Classes/Categories/NSString+Path.h"

namespace wevora {
namespace {

TEST(HasPathPrefix, ComparesWholeComponents) {
  EXPECT_TRUE(hasPathPrefix("/a/b/c", "/a/b"));
  EXPECT_FALSE(hasPathPrefix("/a/b/c", "/a/bc"));
  EXPECT_FALSE(hasPathPrefix("/Volumes/Data2", "/Volumes/Data"));
  EXPECT_TRUE(hasPathPrefix("/a/b", "/a/b/"));
  EXPECT_FALSE(hasPathPrefix("/a/B", "/a/b"));
}

TEST(HasPathPrefix, APathWithFewerComponentsThanThePrefixDoesNotMatch) {
  EXPECT_FALSE(hasPathPrefix("/a/b/c", "/a/b/c/d"));
  EXPECT_FALSE(hasPathPrefix("", "/"));
}

TEST(HasPathPrefix, AnEmptyPrefixNeverMatches) {
  EXPECT_FALSE(hasPathPrefix("/a/b/c", ""));
}

TEST(HasPathPrefix, TheRootIsAPrefixOfEveryNonEmptyPath) {
  EXPECT_TRUE(hasPathPrefix("/a/b/c", "/"));
  EXPECT_TRUE(hasPathPrefix("/", "/"));
  EXPECT_TRUE(hasPathPrefix("a", "/"));
}

TEST(HasPathPrefix, TheFirstComponentIsNeverComparedEvenForRelativePaths) {
  EXPECT_TRUE(hasPathPrefix("x/b", "y/b"));
  EXPECT_TRUE(hasPathPrefix("a/x", "b"));
}

TEST(StringByCuttingMountPoint, TheMountPointItselfIsTheRoot) {
  EXPECT_EQ(stringByCuttingMountPoint("/Volumes/Data", "/Volumes/Data"), "/");
  EXPECT_EQ(stringByCuttingMountPoint("/Volumes/Data/", "/Volumes/Data"), "/");
  EXPECT_EQ(stringByCuttingMountPoint("/Volumes//Data", "/Volumes/Data"), "/");
}

TEST(StringByCuttingMountPoint, ATrailingSeparatorIsDropped) {
  EXPECT_EQ(stringByCuttingMountPoint("/Volumes/Data/a/", "/Volumes/Data"), "/a");
}

TEST(StringByCuttingMountPoint, APathOutsideTheMountPointGivesTheRoot) {
  EXPECT_EQ(stringByCuttingMountPoint("/Users/x", "/Volumes/Data"), "/");
}

TEST(StringByCuttingMountPoint, ThePrefixIsComparedByCharactersNotByComponents) {
  EXPECT_EQ(stringByCuttingMountPoint("/Volumes/Data2/x", "/Volumes/Data"), "/2/x");
}

TEST(StringByCuttingMountPoint, WithTheRootAsMountPointEveryPathYieldsItself) {
  EXPECT_EQ(stringByCuttingMountPoint("/a//b/", "/"), "/a/b");
}

TEST(StringByCuttingMountPoint, InvalidUtf8IsPreserved) {
  EXPECT_EQ(stringByCuttingMountPoint("/m/\xFF\xFE", "/m"), "/\xFF\xFE");
}

TEST(StringByAddingMountPoint, LeavesNoDoubledOrTrailingSeparator) {
  EXPECT_EQ(stringByAddingMountPoint("/a/b", "/Volumes/Data"), "/Volumes/Data/a/b");
  EXPECT_EQ(stringByAddingMountPoint("/a", "/"), "/a");
  EXPECT_EQ(stringByAddingMountPoint("//a//", "/Volumes/Data/"), "/Volumes/Data/a");
  EXPECT_EQ(stringByAddingMountPoint("/", "/Volumes/Data"), "/Volumes/Data");
}

}  // namespace
}  // namespace wevora
