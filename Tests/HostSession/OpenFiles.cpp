#include "Tests/HostSession/OpenFiles.h"

#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace wevora::testing_host {

namespace fs = std::filesystem;

dev_t deviceOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

std::optional<std::vector<std::string>> openOn(dev_t device, pid_t process) {
  std::vector<std::string> open;
  const fs::path folder = "/proc/" + std::to_string(process);
  for (const char* kind : {"fd", "map_files"}) {
    std::error_code failed;
    const fs::directory_iterator files(folder / kind, failed);
    if (failed == std::errc::permission_denied) return std::nullopt;
    if (failed) throw fs::filesystem_error("cannot list open files", folder / kind, failed);
    for (const auto& file : files)
      if (deviceOf(file.path()) == device) open.push_back(fs::read_symlink(file.path()));
  }
  for (const char* kind : {"cwd", "root"})
    if (deviceOf(folder / kind) == device) open.emplace_back(kind);
  return open;
}

}  // namespace wevora::testing_host
