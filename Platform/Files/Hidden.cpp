#include "Platform/Files/Hidden.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

#include "Platform/Strings/Strings.h"
#include "Platform/Support/Descriptor.h"

namespace wevora::platform {
namespace {

/// The text of a regular file; empty when it cannot be read.
std::string textOf(const std::string& path) {
  // Not blocking: the name may be that of a pipe.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat facts {};
  if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
      facts.st_size > static_cast<off_t>(HiddenNames::kLongestList))
    return {};
  std::string text(static_cast<std::size_t>(facts.st_size), '\0');
  std::size_t length = 0;
  while (length < text.size()) {
    const ssize_t read = ::read(file.get(), text.data() + length, text.size() - length);
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) return {};
    if (read == 0) break;
    length += static_cast<std::size_t>(read);
  }
  text.resize(length);
  return text;
}

/// Calls `use` with each line, until it answers true.
template <class Use>
bool anyLine(std::string_view text, Use use) {
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    if (use(line)) return true;
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return false;
}

std::string listOf(std::string_view folder) {
  return pathByAppendingComponent(folder, HiddenNames::kFileName);
}

}  // namespace

HiddenNames::HiddenNames(const std::string& folder) : text_(textOf(listOf(folder))) {
  anyLine(text_, [this](std::string_view line) {
    if (!line.empty()) listed_.insert(line);
    return false;
  });
}

bool isHiddenItem(std::string_view path) {
  if (path.empty()) return false;
  const std::string item = standardizedPath(path);
  struct stat facts {};
  if (::lstat(item.c_str(), &facts) != 0) return false;
  const auto name = lastPathComponent(item);
  if (name.starts_with('.')) return true;
  const std::string list = textOf(listOf(pathWithoutLastComponent(item)));
  return anyLine(list, [name](std::string_view line) { return line == name; });
}

}  // namespace wevora::platform
