#include "Apps/CommandLine/Json.h"

#include <array>
#include <cstdio>

#include "Platform/Base/Strings.h"

namespace wevora::command_line {
namespace {

std::string unicodeEscape(unsigned code) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "\\u%04x", code & 0xFFFFU);
  return text.data();
}

std::string escaped(std::string_view character) {
  const auto byte = static_cast<unsigned char>(character.front());
  if (character.size() == 1 && byte >= 0x80) return unicodeEscape(0xDC00U + byte);
  if (byte == '"' || byte == '\\') return {'\\', static_cast<char>(byte)};
  if (byte < 0x20 || byte == 0x7F) return unicodeEscape(byte);
  return std::string(character);
}

}  // namespace

std::string jsonString(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const auto bytes = platform::firstCharacter(text).bytes;
    result += escaped(text.substr(0, bytes));
    text.remove_prefix(bytes);
  }
  return result + "\"";
}

}  // namespace wevora::command_line
