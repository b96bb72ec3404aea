#include "Platform/Files/FileStat.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "Platform/Base/Strings.h"

namespace wevora::platform {

std::optional<ItemFacts> factsOf(const std::string& path) noexcept {
  return factsOf(AT_FDCWD, path);
}

std::optional<ItemFacts> factsOf(int folder, const std::string& name) noexcept {
  ItemFacts facts{};
  const int result = ::fstatat(folder, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW);
  return result == 0 ? std::optional(facts) : std::nullopt;
}

std::optional<ItemFacts> factsOf(int file) noexcept {
  ItemFacts facts{};
  return ::fstat(file, &facts) == 0 ? std::optional(facts) : std::nullopt;
}

bool isNotFound(int error) noexcept {
  return error == ENOENT || error == ENOTDIR;
}

std::optional<std::string> linkTarget(const std::string& path) {
  return linkTarget(AT_FDCWD, path);
}

std::optional<std::string> linkTarget(int folder, const std::string& name) {
  // Some links of the system tell no length.
  for (std::string target(256, '\0');; target.resize(target.size() * 2)) {
    const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
    if (length < 0) return std::nullopt;
    if (static_cast<std::size_t>(length) == target.size()) continue;
    target.resize(static_cast<std::size_t>(length));
    return target;
  }
}

std::string parentFolderOf(std::string_view path) {
  const auto folder = pathWithoutLastComponent(withoutTrailingSeparators(path));
  return folder.empty() ? "." : std::string(folder);
}

}  // namespace wevora::platform
