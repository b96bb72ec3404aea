#include "CommonCode/Tools/FileTools/Wildcard.h"

#include <optional>

#include "Platform/Base/Strings.h"

namespace wevora {
namespace {

/// The first character of a text; empty for an empty text.
std::string_view firstOf(std::string_view text) {
  return text.empty() ? text : text.substr(0, platform::firstCharacter(text).bytes);
}

bool isSame(std::string_view character, std::string_view other, LetterCase letterCase) {
  if (character == other) return true;
  return letterCase == LetterCase::insensitive &&
         platform::caseFolded(character) == platform::caseFolded(other);
}

}  // namespace

bool matchesWildcard(std::string_view text, std::string_view pattern, LetterCase letterCase) {
  /// Where to resume when the last "*" has to match one more character.
  struct Backtrack {
    std::string_view text;
    std::string_view pattern;
  };
  std::optional<Backtrack> backtrack;
  while (!text.empty() || !pattern.empty()) {
    const auto wanted = firstOf(pattern);
    const auto given = firstOf(text);
    if (wanted == "*") {
      pattern.remove_prefix(1);
      backtrack = Backtrack{text, pattern};
    } else if (!wanted.empty() && !given.empty() &&
               (wanted == "?" || isSame(given, wanted, letterCase))) {
      pattern.remove_prefix(wanted.size());
      text.remove_prefix(given.size());
    } else if (backtrack && !backtrack->text.empty()) {
      backtrack->text.remove_prefix(firstOf(backtrack->text).size());
      text = backtrack->text;
      pattern = backtrack->pattern;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace wevora
