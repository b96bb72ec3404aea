#include "Platform/PropertyLists/ListText.h"

#include <cstdint>

namespace wevora::platform {
namespace {

struct Sequence {
  std::size_t bytes;       ///< 0: not the first byte of a character
  std::uint32_t code;      ///< the bits of the first byte
  std::uint32_t smallest;  ///< a smaller code has a shorter form
};

Sequence sequenceOf(unsigned char first) noexcept {
  if (first < 0x80) return {1, first, 0};
  if (first >= 0xC2 && first < 0xE0) return {2, first & 0x1FU, 0x80};
  if (first >= 0xE0 && first < 0xF0) return {3, first & 0x0FU, 0x800};
  if (first >= 0xF0 && first < 0xF5) return {4, first & 0x07U, 0x10000};
  return {0, 0, 0};
}

bool isXmlCharacter(std::uint32_t code) noexcept {
  if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
  return code < 0xD800 || (code >= 0xE000 && code < 0xFFFE) || (code >= 0x10000 && code < 0x110000);
}

bool isHighSurrogate(std::uint32_t unit) noexcept {
  return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(std::uint32_t unit) noexcept {
  return unit >= 0xDC00 && unit < 0xE000;
}

void appendUtf8(std::string& text, std::uint32_t code) {
  const auto tail = [&](unsigned shift) {
    text += static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
  };
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0U | code >> 6U);
    tail(0);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0U | code >> 12U);
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0U | code >> 18U);
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace

std::size_t lengthOfListCharacter(std::string_view text) noexcept {
  if (text.empty()) return 0;
  const auto sequence = sequenceOf(static_cast<unsigned char>(text.front()));
  if (sequence.bytes == 0 || sequence.bytes > text.size()) return 0;
  std::uint32_t code = sequence.code;
  for (const char byte : text.substr(1, sequence.bytes - 1)) {
    const auto bits = static_cast<unsigned char>(byte);
    if ((bits & 0xC0U) != 0x80) return 0;
    code = code << 6U | (bits & 0x3FU);
  }
  return code < sequence.smallest || !isXmlCharacter(code) ? 0 : sequence.bytes;
}

bool isListText(std::string_view text) noexcept {
  while (!text.empty()) {
    const auto bytes = lengthOfListCharacter(text);
    if (bytes == 0) return false;
    text.remove_prefix(bytes);
  }
  return true;
}

std::string utf8OfUtf16(std::span<const char> bytes, std::endian order) {
  const auto units = bytes.size() / 2;
  const auto unitAt = [&](std::size_t unit) -> std::uint32_t {
    if (unit >= units) return 0;
    const auto first = static_cast<unsigned char>(bytes[2 * unit]);
    const auto second = static_cast<unsigned char>(bytes[2 * unit + 1]);
    const bool big = order == std::endian::big;
    return static_cast<std::uint32_t>(big ? first : second) << 8U | (big ? second : first);
  };
  std::string text;
  text.reserve(units);
  for (std::size_t unit = 0; unit < units; ++unit) {
    std::uint32_t code = unitAt(unit);
    if (const auto next = unitAt(unit + 1); isHighSurrogate(code) && isLowSurrogate(next)) {
      code = 0x10000 + ((code - 0xD800) << 10U) + (next - 0xDC00);
      ++unit;
    }
    appendUtf8(text, code);
  }
  return text;
}

std::string utf8OfLatin1(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char byte : bytes) appendUtf8(text, static_cast<unsigned char>(byte));
  return text;
}

}  // namespace wevora::platform
