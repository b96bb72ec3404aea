#pragma once

#include <string_view>

namespace wevora {

enum class LetterCase { sensitive, insensitive };

/// Whether the pattern matches the whole text: "*" matches any run of characters, also an empty
/// one;
/// "?" matches exactly one; any other character matches itself. A character is a code point; a byte
/// that is not valid UTF-8 is a character of its own.
/// Complexity: O(length of text * length of pattern), without recursion.
/// Thread-safety: safe from any thread.
bool matchesWildcard(std::string_view text, std::string_view pattern, LetterCase letterCase);

}  // namespace wevora
