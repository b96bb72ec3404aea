#include "Apps/status/StatusPrinter.h"

#include <array>
#include <cstdio>

#include "Platform/Strings/Strings.h"

namespace wevora::status {
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

std::string_view colourOf(const std::string& word) {
  if (word == "green") return "\033[32m";
  if (word == "blue") return "\033[34m";
  if (word == "red") return "\033[31m";
  return "\033[2m";
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

void StatusPrinter::print(const std::string& word, const std::string& path,
                          const std::optional<std::string>& database) {
  if (format_ == StatusOptions::Format::json) {
    out_ << "{\"path\":" << jsonString(path) << ",\"status\":" << jsonString(word)
         << ",\"database\":" << (database ? jsonString(*database) : "null") << "}\n";
  } else if (colours_) {
    out_ << colourOf(word) << word << "\033[0m\t" << path << '\n';
  } else {
    out_ << word << '\t' << path << '\n';
  }
}

}  // namespace wevora::status
