#include "Platform/PropertyLists/ListText.h"

#include <cstddef>
#include <cstdint>

namespace wevora::platform {
namespace {

struct Sequence {
  std::size_t bytes;       ///< 0: no first byte of a character
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

}  // namespace

bool isListText(std::string_view text) noexcept {
  while (!text.empty()) {
    const auto sequence = sequenceOf(static_cast<unsigned char>(text.front()));
    if (sequence.bytes == 0 || sequence.bytes > text.size()) return false;
    std::uint32_t code = sequence.code;
    for (const char byte : text.substr(1, sequence.bytes - 1)) {
      const auto bits = static_cast<unsigned char>(byte);
      if ((bits & 0xC0U) != 0x80) return false;
      code = code << 6U | (bits & 0x3FU);
    }
    if (code < sequence.smallest || !isXmlCharacter(code)) return false;
    text.remove_prefix(sequence.bytes);
  }
  return true;
}

}  // namespace wevora::platform
