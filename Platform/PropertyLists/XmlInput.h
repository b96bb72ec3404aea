#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace wevora::platform {

/// The text of an XML file as UTF-8: of UTF-8, US-ASCII, ISO-8859-1 and UTF-16, with or without a
/// byte-order mark. Leading white space is dropped. Null for any other declared encoding.
///
/// The XML library does not convert: its converters read ahead of the parser, and report errors
/// through a handler that the whole process shares.
std::optional<std::string> decodedXml(std::string_view bytes);

/// The bytes of the first token: a tag, a comment, a CDATA section, an instruction, or the text
/// before the next of them. 0 where a tag is too long: the parser's time for a tag grows with the
/// square of its attributes.
std::size_t lengthOfXmlToken(std::string_view text) noexcept;

/// Carries bytes that XML cannot hold through an XML parser, so that a file with a stray byte is
/// not lost: each becomes two of the 32 noncharacters U+FDD0 to U+FDEF, one per half. Those
/// characters themselves are escaped byte by byte.
class ByteEscapes {
 public:
  /// Null for a text with a NUL, or where more bytes were escaped than a list may have.
  std::optional<std::string> escape(std::string_view text);
  /// The bytes again. A text without escapes may name those characters by number.
  std::string unescape(std::string text) const;

 private:
  static constexpr std::size_t kMost = std::size_t{1} << 20U;
  std::size_t left_ = kMost;
};

}  // namespace wevora::platform
