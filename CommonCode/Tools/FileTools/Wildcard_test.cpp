#include "CommonCode/Tools/FileTools/Wildcard.h"

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <glib.h>
#include <gtest/gtest.h>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"

namespace wevora {
namespace {

bool matches(std::string_view text, std::string_view pattern) {
  return matchesWildcard(text, pattern, LetterCase::sensitive);
}
bool matchesAnyCase(std::string_view text, std::string_view pattern) {
  return matchesWildcard(text, pattern, LetterCase::insensitive);
}

TEST(MatchesWildcard, AStarMatchesAnyRunOfCharactersEvenAnEmptyOne) {
  EXPECT_TRUE(matches("", "*"));
  EXPECT_TRUE(matches("abc", "*"));
  EXPECT_TRUE(matches("abc", "abc*"));
  EXPECT_TRUE(matches("abc", "***a***c***"));
  EXPECT_TRUE(matches("aabab", "*ab"));
  EXPECT_FALSE(matches("aabab", "*aba"));
}

TEST(MatchesWildcard, AQuestionMarkMatchesExactlyOneCharacter) {
  EXPECT_TRUE(matches("\xC3\xA9", "?"));
  EXPECT_TRUE(matches("\xF0\x9F\x98\x80", "?"));
  EXPECT_TRUE(matches("\xFF", "?"));
  EXPECT_FALSE(matches("", "?"));
  EXPECT_FALSE(matches("ab", "?"));
  EXPECT_TRUE(matches("abc", "?*?"));
  EXPECT_FALSE(matches("a", "?*?"));
}

TEST(MatchesWildcard, ThePatternMustMatchTheWholeText) {
  EXPECT_FALSE(matches("abc", "ab"));
  EXPECT_FALSE(matches("abc", "bc"));
  EXPECT_FALSE(matches("abc", ""));
  EXPECT_TRUE(matches("", ""));
}

TEST(MatchesWildcard, EveryOtherCharacterMatchesItself) {
  EXPECT_TRUE(matches("a.[b]\\{c}+", "a.[b]\\{c}+"));
  EXPECT_FALSE(matches("axb", "a.b"));
  EXPECT_FALSE(matches("b", "[b]"));
  EXPECT_TRUE(matches("a\nb", "a*b"));
  EXPECT_TRUE(matches("a\nb", "a?b"));
}

TEST(MatchesWildcard, CaseInsensitiveMatchingCoversLettersOfEveryScript) {
  EXPECT_TRUE(matchesAnyCase("\xC3\x89T\xC3\xA9", "\xC3\xA9t\xC3\x89"));
  EXPECT_TRUE(matchesAnyCase("\xD0\x96", "\xD0\xB6"));
  EXPECT_FALSE(matches("\xD0\x96", "\xD0\xB6"));
  EXPECT_FALSE(matches("A", "a"));
}

TEST(MatchesWildcard, ManyStarsDoNotCauseExponentialTime) {
  const std::string text(20'000, 'a');
  std::string pattern;
  for (int i = 0; i < 50; ++i) pattern += "*a";
  EXPECT_FALSE(matches(text, pattern + "*b"));
  EXPECT_TRUE(matches(text, pattern + "*"));
}

// --- Random names compared with an independent regular expression --------------------------------

struct RegexUnref {
  void operator()(GRegex* regex) const noexcept { g_regex_unref(regex); }
};
using Regex = std::unique_ptr<GRegex, RegexUnref>;

/// The oracle: the regular expression equivalent to a wildcard pattern.
Regex regexOf(const std::string& expression, bool anyCase) {
  const int flags = G_REGEX_DOTALL | G_REGEX_DOLLAR_ENDONLY | (anyCase ? G_REGEX_CASELESS : 0);
  Regex regex(g_regex_new(expression.c_str(), static_cast<GRegexCompileFlags>(flags), {}, nullptr));
  EXPECT_NE(regex, nullptr) << expression;
  return regex;
}

bool regexMatches(const Regex& regex, const std::string& text) {
  return g_regex_match(regex.get(), text.c_str(), {}, nullptr) != FALSE;
}

std::string expressionOf(const std::string& pattern) {
  std::string expression = "^";
  for (const char c : pattern) {
    if (c == '*')
      expression += ".*";
    else if (c == '?')
      expression += ".";
    else if (g_ascii_isalnum(c) || (static_cast<unsigned char>(c) & 0x80U) != 0)
      expression += c;
    else
      expression += std::string("\\") + c;
  }
  return expression + "$";
}

/// Generates pseudo-random names, and patterns that some of them match.
class Names {
 public:
  std::size_t below(std::size_t bound) { return random_() % bound; }

  std::string ofAlphabet(const std::vector<std::string>& alphabet, std::size_t longest) {
    std::string name;
    for (std::size_t left = below(longest + 1); left > 0; --left)
      name += alphabet[below(alphabet.size())];
    return name;
  }

  /// The name of an account's database, or a slight variation of it.
  std::string nearDatabaseName() {
    std::vector<std::string> characters;
    for (const char c : std::string("Wevora-Account-01234567-89AB-cdef-0123-456789abcdef.db"))
      characters.emplace_back(1, c);
    for (auto changes = below(3); changes > 0; --changes) {
      auto& changed = characters[below(characters.size())];
      changed = std::vector<std::string>{"", changed + "x", "-", "\xC3\x9F"}[below(4)];
    }
    std::string name;
    for (const auto& character : characters) name += character;
    for (auto& c : name)
      if (below(8) == 0) c = below(2) == 0 ? g_ascii_toupper(c) : g_ascii_tolower(c);
    return name + ofAlphabet({"-", "j", "\xC3\x89", "\n", ".part", ""}, 4);
  }

  std::string withExtension() {
    static const std::vector<std::string> kExtensions = {
        "part", "dtapart", "parts", "tmp", "par", "", "p\xC3\x84rt", "PART ", "part.tmp", "xpart"};
    std::string name = ofAlphabet({"a", "B", ".", " ", "\xC3\xA9", "\xD0\x96", "part"}, 6);
    if (below(4) != 0) name += ".";
    name += kExtensions[below(kExtensions.size())];
    for (auto& c : name)
      if (below(3) == 0) c = g_ascii_toupper(c);
    return name;
  }

 private:
  std::mt19937 random_{20140301};
};

constexpr int kNames = 10'000;

const std::vector<std::string> kLetters = {"a",        "A",        "b",        ".",
                                           "-",        "\xC3\xA9", "\xC3\x89", "\xD0\xB6",
                                           "\xD0\x96", "\xCE\xB1", "\xCE\x91", "\xF0\x9F\x98\x80"};

TEST(MatchesWildcard, AgreesWithARegularExpressionOnTenThousandNames) {
  Names names;
  auto lettersAndWildcards = kLetters;
  for (const auto* wildcard : {"*", "?", "*", "?"}) lettersAndWildcards.emplace_back(wildcard);
  int matched = 0;
  for (int i = 0; i < kNames; ++i) {
    const auto pattern = names.ofAlphabet(lettersAndWildcards, 7);
    const auto text = names.ofAlphabet(kLetters, 6);
    const bool expected = regexMatches(regexOf(expressionOf(pattern), false), text);
    matched += expected ? 1 : 0;
    ASSERT_EQ(matches(text, pattern), expected) << text << " " << pattern;
    ASSERT_EQ(matchesAnyCase(text, pattern),
              regexMatches(regexOf(expressionOf(pattern), true), text))
        << text << " " << pattern;
  }
  EXPECT_GT(matched, kNames / 50);
}

TEST(QuickCheckByName, AgreesWithARegularExpressionOnTenThousandDatabaseNames) {
  Names names;
  const auto oracle =
      regexOf("^wevora-account-.{8}-.{4}-.{4}-.{4}-.{12}\\.db.*$|\\.(part|dtapart)$", true);
  int ignored = 0;
  for (int i = 0; i < kNames; ++i) {
    const auto name = names.nearDatabaseName();
    const bool expected = regexMatches(oracle, name);
    ignored += expected ? 1 : 0;
    ASSERT_EQ(WVRFileTools::quickCheckIfFileShouldBeIgnoredByName(name), expected) << name;
  }
  EXPECT_GT(ignored, kNames / 10);
  EXPECT_LT(ignored, kNames * 9 / 10);
}

TEST(QuickCheckByName, AgreesWithARegularExpressionOnTenThousandExtensions) {
  Names names;
  const auto oracle = regexOf("\\.(part|dtapart)$", true);
  int ignored = 0;
  for (int i = 0; i < kNames; ++i) {
    const auto name = names.withExtension();
    const bool expected = regexMatches(oracle, name);
    ignored += expected ? 1 : 0;
    ASSERT_EQ(WVRFileTools::quickCheckIfFileShouldBeIgnoredByName(name), expected) << name;
  }
  EXPECT_GT(ignored, kNames / 20);
  EXPECT_LT(ignored, kNames / 2);
}

}  // namespace
}  // namespace wevora
