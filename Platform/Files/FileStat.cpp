#include "Platform/Files/FileStat.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "Platform/Base/Strings.h"

namespace wevora::platform {
namespace {

std::optional<FileStat> statAt(int folder, const std::string& name, int flags) noexcept {
  FileStat status{};
  const int result = ::fstatat(folder, name.c_str(), &status, flags);
  return result == 0 ? std::optional(status) : std::nullopt;
}

}  // namespace

std::optional<FileStat> statOf(const std::string& path) noexcept {
  return statOf(AT_FDCWD, path);
}

std::optional<FileStat> statOf(int folder, const std::string& name) noexcept {
  return statAt(folder, name, AT_SYMLINK_NOFOLLOW);
}

std::optional<FileStat> statOf(int file) noexcept {
  FileStat status{};
  return ::fstat(file, &status) == 0 ? std::optional(status) : std::nullopt;
}

std::optional<FileStat> statOfTarget(const std::string& path) noexcept {
  return statAt(AT_FDCWD, path, 0);
}

Date modificationDate(const FileStat& status) noexcept {
  return Date{static_cast<double>(status.st_mtim.tv_sec) +
              static_cast<double>(status.st_mtim.tv_nsec) / 1e9};
}

bool isNotFound(int error) noexcept {
  return error == ENOENT || error == ENOTDIR;
}

bool isReadableFileAtPath(const std::string& path) noexcept {
  return !path.empty() && ::access(path.c_str(), R_OK) == 0;
}

std::optional<std::string> linkTarget(const std::string& path) {
  return linkTarget(AT_FDCWD, path);
}

std::optional<std::string> linkTarget(int folder, const std::string& name) {
  // st_size is 0 for links in /proc, so the buffer grows until the target fits.
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
