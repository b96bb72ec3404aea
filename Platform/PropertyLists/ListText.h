#pragma once

#include <string_view>

namespace wevora::platform {

/// Whether XML can hold the text: valid UTF-8, no control characters but blanks, no surrogates and
/// none of the two characters at the plane's end that are no characters.
bool isListText(std::string_view text) noexcept;

}  // namespace wevora::platform
