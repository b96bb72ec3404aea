#include "Platform/Files/Hidden.h"

#include "Platform/Base/RegularFile.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

/// Calls `use` with each line until it returns true.
template <class Use>
bool anyLine(std::string_view text, Use use) {
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    if (use(line)) return true;
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return false;
}

/// The text of the folder's ".hidden" file; empty when it cannot be read.
std::string listOf(std::string_view folder) {
  return contentsOfRegularFile(pathByAppendingComponent(folder, HiddenNames::kFileName),
                               HiddenNames::kMaxListBytes)
      .value_or("");
}

}  // namespace

HiddenNames::HiddenNames(const std::string& folder) : text_(listOf(folder)) {
  anyLine(text_, [this](std::string_view line) {
    if (!line.empty()) listed_.insert(line);
    return false;
  });
}

bool isHiddenItem(std::string_view path) {
  if (path.empty()) return false;
  const std::string item = standardizedPath(path);
  if (!statOf(item)) return false;
  const auto name = lastPathComponent(item);
  if (name.starts_with('.')) return true;
  const std::string list = listOf(pathWithoutLastComponent(item));
  return anyLine(list, [name](std::string_view line) { return line == name; });
}

}  // namespace wevora::platform
