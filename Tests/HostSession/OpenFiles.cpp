#include "Tests/HostSession/OpenFiles.h"

#include <filesystem>
#include <sys/stat.h>

namespace wevora::testing_host {

namespace fs = std::filesystem;

dev_t deviceOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
}

std::vector<std::string> openOn(dev_t device, pid_t process) {
  std::vector<std::string> open;
  const fs::path folder = "/proc/" + std::to_string(process);
  for (const char* kind : {"fd", "map_files"})
    for (const auto& file : fs::directory_iterator(folder / kind))
      if (deviceOf(file.path()) == device) open.push_back(fs::read_symlink(file.path()));
  for (const char* kind : {"cwd", "root"})
    if (deviceOf(folder / kind) == device) open.emplace_back(kind);
  return open;
}

}  // namespace wevora::testing_host
