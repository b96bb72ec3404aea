#include "Tests/Doubles/MountInfoVolumes.h"

#include <algorithm>
#include <optional>

namespace wevora::platform {
namespace {

bool isOctal(char c) {
  return c >= '0' && c <= '7';
}

/// mountinfo escapes blanks, tabs, newlines and backslashes as "\ooo" (octal).
std::string unescaped(std::string_view field) {
  std::string result;
  result.reserve(field.size());
  for (std::size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size() && isOctal(field[i + 1]) &&
        isOctal(field[i + 2]) && isOctal(field[i + 3])) {
      result += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                                  (field[i + 3] - '0'));
      i += 3;
    } else {
      result += field[i];
    }
  }
  return result;
}

std::vector<std::string_view> fieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  while (!line.empty()) {
    const auto field = line.substr(0, line.find(' '));
    if (!field.empty()) fields.push_back(field);
    line.remove_prefix(std::min(line.size(), field.size() + 1));
  }
  return fields;
}

/// "36 35 98:0 /root /mount options [optional...] - type source options"
std::optional<Volume> volumeOfLine(std::string_view line) {
  constexpr std::size_t kMountPoint = 4;
  constexpr std::size_t kFirstOptional = 6;
  const auto fields = fieldsOf(line);
  std::size_t separator = kFirstOptional;
  while (separator < fields.size() && fields[separator] != "-") ++separator;
  if (separator + 1 >= fields.size()) return std::nullopt;
  return Volume{unescaped(fields[kMountPoint]), std::string(fields[separator + 1])};
}

}  // namespace

std::vector<Volume> volumesFromMountInfo(std::string_view text) {
  std::vector<Volume> volumes;
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    if (auto volume = volumeOfLine(line)) volumes.push_back(std::move(*volume));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return volumes;
}

}  // namespace wevora::platform
