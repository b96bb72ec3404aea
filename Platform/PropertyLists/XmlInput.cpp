#include "Platform/PropertyLists/XmlInput.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "Platform/PropertyLists/ListText.h"

namespace wevora::platform {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kLongestTag = 4096;
/// What U+FDD0 to U+FDEF begin with in UTF-8.
constexpr std::string_view kEscape = "\xEF\xB7";
constexpr unsigned kHighHalf = 0x90;  ///< the last byte of U+FDD0
constexpr unsigned kLowHalf = 0xA0;   ///< the last byte of U+FDE0

std::string_view withoutLeadingBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text;
}

/// The encoding that the XML declaration names, in small letters.
std::string declaredEncoding(std::string_view text) {
  constexpr std::string_view kName = "encoding";
  if (!text.starts_with("<?xml")) return "utf-8";
  text = text.substr(0, text.find("?>"));
  const auto name = text.find(kName);
  if (name == text.npos) return "utf-8";
  text = withoutLeadingBlanks(text.substr(name + kName.size()));
  if (!text.starts_with('=')) return "utf-8";
  text = withoutLeadingBlanks(text.substr(1));
  if (text.empty()) return "utf-8";
  const char quote = text.front();
  text.remove_prefix(1);
  std::string encoding(text.substr(0, text.find(quote)));
  for (char& c : encoding)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return encoding;
}

std::optional<std::string> decodedBytes(std::string_view bytes) {
  constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
  if (bytes.starts_with(kUtf8Mark)) return std::string(bytes.substr(kUtf8Mark.size()));
  if (bytes.starts_with("\xFF\xFE")) return utf8OfUtf16(bytes.substr(2), std::endian::little);
  if (bytes.starts_with("\xFE\xFF")) return utf8OfUtf16(bytes.substr(2), std::endian::big);
  if (bytes.starts_with(std::string_view("<\0", 2))) return utf8OfUtf16(bytes, std::endian::little);
  if (bytes.starts_with(std::string_view("\0<", 2))) return utf8OfUtf16(bytes, std::endian::big);
  bytes = withoutLeadingBlanks(bytes);
  const auto encoding = declaredEncoding(bytes);
  if (encoding == "utf-8" || encoding == "utf8" || encoding == "us-ascii" || encoding == "ascii")
    return std::string(bytes);
  if (encoding == "iso-8859-1" || encoding == "latin1") return utf8OfLatin1(bytes);
  return std::nullopt;
}

/// Up to and including the end mark; everything where it is missing.
std::size_t endAfter(std::string_view text, std::string_view mark, std::size_t from) noexcept {
  const auto place = text.find(mark, from);
  return place == text.npos ? text.size() : place + mark.size();
}

std::size_t lengthOfTag(std::string_view text) noexcept {
  char quote = 0;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (i > kLongestTag) return 0;
    const char c = text[i];
    if (c == '<') return i;  // not in a valid tag, quoted or not
    if (quote == 0 && c == '>') return i + 1;
    if (quote == 0 && (c == '"' || c == '\''))
      quote = c;
    else if (c == quote)
      quote = 0;
  }
  return text.size();
}

void appendEscaped(std::string& text, unsigned char byte) {
  text.append(kEscape) += static_cast<char>(kHighHalf + (byte >> 4U));
  text.append(kEscape) += static_cast<char>(kLowHalf + (byte & 15U));
}

/// The half of a byte that an escape at the place carries.
std::optional<unsigned> halfAt(std::string_view text, std::size_t place, unsigned base) {
  if (!text.substr(std::min(place, text.size())).starts_with(kEscape)) return std::nullopt;
  if (place + kEscape.size() >= text.size()) return std::nullopt;
  const unsigned last = static_cast<unsigned char>(text[place + kEscape.size()]);
  return last >= base && last < base + 16 ? std::optional(last - base) : std::nullopt;
}

bool isEscape(std::string_view character) {
  return halfAt(character, 0, kHighHalf) || halfAt(character, 0, kLowHalf);
}

}  // namespace

std::optional<std::string> decodedXml(std::string_view bytes) {
  auto text = decodedBytes(bytes);
  if (text) text->erase(0, text->find_first_not_of(kBlanks));
  return text;
}

std::size_t lengthOfXmlToken(std::string_view text) noexcept {
  if (!text.starts_with('<')) return std::min(text.find('<'), text.size());
  if (text.starts_with("<!--")) return endAfter(text, "-->", 4);
  if (text.starts_with("<![CDATA[")) return endAfter(text, "]]>", 9);
  if (text.starts_with("<?")) return endAfter(text, "?>", 2);
  return lengthOfTag(text);
}

std::optional<std::string> ByteEscapes::escape(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    if (text.front() == '\0') return std::nullopt;
    const auto bytes = lengthOfListCharacter(text);
    if (bytes != 0 && !isEscape(text.substr(0, bytes))) {
      result.append(text.substr(0, bytes));
      text.remove_prefix(bytes);
      continue;
    }
    if (left_ == 0) return std::nullopt;
    --left_;
    appendEscaped(result, static_cast<unsigned char>(text.front()));
    text.remove_prefix(1);
  }
  return result;
}

std::string ByteEscapes::unescape(std::string text) const {
  if (left_ == kMost) return text;
  constexpr std::size_t kHalf = kEscape.size() + 1;
  auto escape = text.find(kEscape);
  if (escape == text.npos) return text;
  std::string result;
  std::size_t from = 0;
  for (; escape != text.npos; escape = text.find(kEscape, from)) {
    result.append(text, from, escape - from);
    const auto high = halfAt(text, escape, kHighHalf);
    const auto low = high ? halfAt(text, escape + kHalf, kLowHalf) : std::nullopt;
    if (low) {
      result += static_cast<char>(*high << 4U | *low);
      from = escape + 2 * kHalf;
    } else {
      result.append(kEscape);
      from = escape + kEscape.size();
    }
  }
  return result.append(text, from);
}

}  // namespace wevora::platform
