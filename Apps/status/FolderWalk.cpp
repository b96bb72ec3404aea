#include "Apps/status/FolderWalk.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace wevora::status {

std::vector<std::string> FolderWalk::list(const std::string& path) {
  struct stat facts {};
  if (::lstat(path.c_str(), &facts) != 0 || !S_ISDIR(facts.st_mode)) return {};
  if (!listed_.emplace(facts.st_dev, facts.st_ino).second) return {};
  std::vector<std::string> names;
  std::error_code failed;
  for (std::filesystem::directory_iterator entry(path, failed), end; !failed && entry != end;
       entry.increment(failed))
    names.push_back(entry->path().filename().string());
  std::ranges::sort(names);
  return names;
}

}  // namespace wevora::status
