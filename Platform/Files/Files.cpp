#include "Platform/Files/Files.h"

#include <sys/stat.h>
#include <unistd.h>

namespace wevora::platform {

Existence fileExistsAtPath(const std::string& path) noexcept {
  struct stat facts {};
  if (path.empty() || ::stat(path.c_str(), &facts) != 0) return {};
  return {.exists = true, .isDirectory = S_ISDIR(facts.st_mode)};
}

bool isReadableFileAtPath(const std::string& path) noexcept {
  return !path.empty() && ::access(path.c_str(), R_OK) == 0;
}

std::optional<FileAttributes> attributesOfItemAtPath(const std::string& path) noexcept {
  struct stat facts {};
  if (path.empty() || ::lstat(path.c_str(), &facts) != 0) return std::nullopt;
  const double modified =
      static_cast<double>(facts.st_mtim.tv_sec) + static_cast<double>(facts.st_mtim.tv_nsec) / 1e9;
  return FileAttributes{.size = static_cast<std::uint64_t>(facts.st_size),
                        .modificationDate = Date{modified},
                        .isDirectory = S_ISDIR(facts.st_mode)};
}

}  // namespace wevora::platform
