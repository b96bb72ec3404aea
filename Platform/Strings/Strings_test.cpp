#include "Platform/Strings/Strings.h"

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

using Components = std::vector<std::string>;

TEST(PathComponents, TheLeadingSeparatorIsAComponentOfItsOwn) {
  EXPECT_EQ(pathComponents("/Users/a"), (Components{"/", "Users", "a"}));
  EXPECT_EQ(pathComponents("//Users///a//"), (Components{"/", "Users", "a"}));
  EXPECT_EQ(pathComponents("a/b"), (Components{"a", "b"}));
  EXPECT_EQ(pathComponents("/"), Components{"/"});
  EXPECT_TRUE(pathComponents("").empty());
}

TEST(StandardizedPath, CollapsesDotsAndSeparatorsByTheTextAlone) {
  EXPECT_EQ(standardizedPath("/a//b/./c/"), "/a/b/c");
  EXPECT_EQ(standardizedPath("/a/b/../c"), "/a/c");
  EXPECT_EQ(standardizedPath("/../../a"), "/a");
  EXPECT_EQ(standardizedPath("../../a"), "../../a");
  EXPECT_EQ(standardizedPath("//"), "/");
  EXPECT_EQ(standardizedPath(""), "");
}

TEST(LastPathComponent, IgnoresTrailingSeparators) {
  EXPECT_EQ(lastPathComponent("/a/b"), "b");
  EXPECT_EQ(lastPathComponent("/a/b/"), "b");
  EXPECT_EQ(lastPathComponent("/"), "/");
  EXPECT_EQ(lastPathComponent("a"), "a");
  EXPECT_EQ(lastPathComponent(""), "");
}

TEST(PathWithoutLastComponent, StopsAtTheRoot) {
  EXPECT_EQ(pathWithoutLastComponent("/a/b"), "/a");
  EXPECT_EQ(pathWithoutLastComponent("/a//b/"), "/a");
  EXPECT_EQ(pathWithoutLastComponent("/a"), "/");
  EXPECT_EQ(pathWithoutLastComponent("/"), "/");
  EXPECT_EQ(pathWithoutLastComponent("a"), "");
}

TEST(PathByAppendingComponent, JoinsWithExactlyOneSeparator) {
  EXPECT_EQ(pathByAppendingComponent("/a/", "/b/c/"), "/a/b/c");
  EXPECT_EQ(pathByAppendingComponent("/", "b"), "/b");
  EXPECT_EQ(pathByAppendingComponent("/a/", ""), "/a");
  EXPECT_EQ(pathByAppendingComponent("", "b"), "b");
}

TEST(Utf16Length, CountsSurrogatePairsAsTwoAndStrayBytesAsOne) {
  EXPECT_EQ(utf16Length("abc"), 3U);
  EXPECT_EQ(utf16Length("\xC3\xA9"), 1U);
  EXPECT_EQ(utf16Length("\xF0\x9F\x98\x80"), 2U);
  EXPECT_EQ(utf16Length("a\xFF\xFE"), 3U);
}

TEST(Lowercased, IsUnicodeAwareAndLeavesBytesThatAreNotUtf8Alone) {
  EXPECT_EQ(lowercased("\xC3\x89T\xC3\x89"), "\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(lowercased("A\xFF"
                       "B"),
            "a\xFF"
            "b");
  EXPECT_EQ(lowercased(std::string_view("A\0\xC3\x89", 4)), std::string_view("a\0\xC3\xA9", 4));
}

TEST(CaseFolded, IsTheSameForTextsThatDifferInCaseOnly) {
  EXPECT_EQ(caseFolded("Stra\xC3\x9F"
                       "E"),
            caseFolded("STRASSE"));
  EXPECT_EQ(caseFolded("\xCE\xA3"), caseFolded("\xCF\x82"));
  EXPECT_NE(caseFolded("a\xFF"), caseFolded("a\xFE"));
}

TEST(RandomUUID, IsCanonicalAndNew) {
  const auto uuid = randomUUID();
  ASSERT_EQ(uuid.size(), 36U);
  for (const std::size_t dash : {8U, 13U, 18U, 23U}) EXPECT_EQ(uuid[dash], '-');
  EXPECT_NE(uuid, randomUUID());
}

TEST(FileUrl, DecodesWhatWasEncoded) {
  const std::string odd = "/a b/\xC3\xA9%#?/\xFF";
  EXPECT_EQ(pathFromFileUrl("file://" + percentEncodedPath(odd)), odd);
  EXPECT_EQ(pathFromFileUrl("file://localhost/a"), "/a");
}

TEST(FileUrl, RefusesOtherSchemesHostsAndBadEscapes) {
  EXPECT_EQ(pathFromFileUrl("http://localhost/a"), std::nullopt);
  EXPECT_EQ(pathFromFileUrl("file://elsewhere/a"), std::nullopt);
  EXPECT_EQ(pathFromFileUrl("file:///a%2"), std::nullopt);
  EXPECT_EQ(pathFromFileUrl("file:///a%zz"), std::nullopt);
  EXPECT_EQ(pathFromFileUrl("file:///a%00b"), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
