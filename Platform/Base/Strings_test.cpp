#include "Platform/Base/Strings.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include <gtest/gtest.h>

#include "Tests/Doubles/TemporaryFolder.h"

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

TEST(StandardizedPath, CollapsesDotsAndSeparatorsLexically) {
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

TEST(Utf16Length, CountsSurrogatePairsAsTwoAndInvalidBytesAsOne) {
  EXPECT_EQ(utf16Length("abc"), 3U);
  EXPECT_EQ(utf16Length("\xC3\xA9"), 1U);
  EXPECT_EQ(utf16Length("\xF0\x9F\x98\x80"), 2U);
  EXPECT_EQ(utf16Length("a\xFF\xFE"), 3U);
}

TEST(Lowercased, IsUnicodeAwareAndKeepsInvalidBytes) {
  EXPECT_EQ(lowercased("\xC3\x89T\xC3\x89"), "\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(lowercased("A\xFF"
                       "B"),
            "a\xFF"
            "b");
  EXPECT_EQ(lowercased(std::string_view("A\0\xC3\x89", 4)), std::string_view("a\0\xC3\xA9", 4));
}

TEST(Lowercased, SpecialLettersHaveTheirLanguageNeutralLowerCase) {
  const std::pair<const char*, const char*> kTable[] = {
      {"FILE", "file"},
      {"\u0130", "i\u0307"},
      {"F\u0130LE I", "fi\u0307le i"},
      {"\u0131", "\u0131"},
      {"\u1E9E", "\u00DF"},
      {"\u03A3", "\u03C3"},
      {"\u039F\u0394\u039F\u03A3", "\u03BF\u03B4\u03BF\u03C2"},
      {"\u039F\u03A3/\u03A3\u0391\u03A3.a", "\u03BF\u03C2/\u03C3\u03B1\u03C2.a"},
      {"\u0391\u0301\u03A3\u0301\u0391", "\u03B1\u0301\u03C3\u0301\u03B1"},
      {"I\u0300J\u0300\u012E\u0301", "i\u0300j\u0300\u012F\u0301"},
      {"\u01C5", "\u01C6"},
      {"\u2126", "\u03C9"},
      {"\uFF21", "\uFF41"},
      {"\U00010400", "\U00010428"},
      {"\u4E2D\U0001F600", "\u4E2D\U0001F600"},
  };
  for (const auto& [text, lower] : kTable) EXPECT_EQ(lowercased(text), lower) << text;
}

TEST(Lowercased, TheResultDoesNotDependOnTheHostsLocale) {
  // GLib detects a Turkish locale by its name only, so links to another locale are enough.
  const TemporaryFolder locales;
  const std::string before = std::setlocale(LC_CTYPE, nullptr);
  for (const char* name : {"tr_TR.UTF-8", "az_AZ.UTF-8", "lt_LT.UTF-8"}) {
    std::filesystem::create_directory_symlink("/usr/lib/locale/C.utf8", locales.path(name));
    ::setenv("LOCPATH", locales.path().c_str(), 1);
    ASSERT_NE(std::setlocale(LC_CTYPE, name), nullptr) << name;
    EXPECT_EQ(lowercased("/\u00C9/FILE I\u0300"), "/\u00E9/file i\u0300") << name;
    EXPECT_EQ(lowercased("\u0130\u0131"), "i\u0307\u0131") << name;
    EXPECT_EQ(caseFolded("\u00C9FILE"), caseFolded("\u00E9file")) << name;
  }
  ::unsetenv("LOCPATH");
  std::setlocale(LC_CTYPE, before.c_str());
}

TEST(CaseFolded, IsEqualForTextsThatDifferOnlyInCase) {
  EXPECT_EQ(caseFolded("Stra\xC3\x9F"
                       "E"),
            caseFolded("STRASSE"));
  EXPECT_EQ(caseFolded("\xCE\xA3"), caseFolded("\xCF\x82"));
  EXPECT_NE(caseFolded("a\xFF"), caseFolded("a\xFE"));
}

TEST(RandomUUID, IsCanonicalAndUnique) {
  const auto uuid = randomUUID();
  ASSERT_EQ(uuid.size(), 36U);
  for (const std::size_t dash : {8U, 13U, 18U, 23U}) EXPECT_EQ(uuid[dash], '-');
  EXPECT_NE(uuid, randomUUID());
}

TEST(FileUrl, DecodingReversesEncoding) {
  const std::string odd = "/a b/\xC3\xA9%#?/\xFF";
  EXPECT_EQ(pathFromFileUrl("file://" + percentEncodedPath(odd)), odd);
  EXPECT_EQ(pathFromFileUrl("file://localhost/a"), "/a");
}

TEST(FileUrl, RejectsOtherSchemesHostsAndBadEscapes) {
  EXPECT_EQ(pathFromFileUrl("http://localhost/a"), std::nullopt);
  EXPECT_EQ(pathFromFileUrl("file://elsewhere/a"), std::nullopt);
  EXPECT_EQ(pathFromFileUrl("file:///a%2"), std::nullopt);
  EXPECT_EQ(pathFromFileUrl("file:///a%zz"), std::nullopt);
  EXPECT_EQ(pathFromFileUrl("file:///a%00b"), std::nullopt);
}

}  // namespace
}  // namespace wevora::platform
