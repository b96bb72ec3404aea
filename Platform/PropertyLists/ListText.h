#pragma once

#include <bit>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace wevora::platform {

/// The bytes of the first character of a UTF-8 text; 0 where XML cannot hold it: invalid UTF-8,
/// control characters other than tab and line ends, surrogates, U+FFFE and U+FFFF.
std::size_t lengthOfListCharacter(std::string_view text) noexcept;

/// Whether XML can hold all characters of the text.
bool isListText(std::string_view text) noexcept;

/// UTF-16 as UTF-8. An unpaired surrogate becomes three bytes, an odd last byte is dropped.
std::string utf8OfUtf16(std::span<const char> bytes, std::endian order);

/// ISO-8859-1 as UTF-8.
std::string utf8OfLatin1(std::string_view bytes);

}  // namespace wevora::platform
