#pragma once

#include <string_view>

namespace wevora {

enum class LetterCase { matters, ignored };

/// Whether the pattern covers all of the text: "*" is any run of characters, the empty one too; "?"
/// is exactly one; any other character is itself. A character is a code point; a byte that is not
/// UTF-8 stands alone. Threads: any. Time: at most the product of the two lengths.
bool matchesWildcard(std::string_view text, std::string_view pattern, LetterCase letterCase);

}  // namespace wevora
