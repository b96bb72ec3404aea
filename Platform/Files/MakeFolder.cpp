#include "Platform/Files/MakeFolder.h"

#include <cerrno>
#include <sys/stat.h>
#include <vector>

#include "Platform/Files/Files.h"
#include "Platform/Strings/Strings.h"

namespace wevora::platform {
namespace {

/// What a folder needs while something is made inside it.
constexpr mode_t kOwnerMayFill = 0700;

}  // namespace

bool changeMode(const std::string& path, mode_t mode) {
  return !path.empty() && ::chmod(path.c_str(), mode) == 0;
}

bool makeFolder(const std::string& path, mode_t mode) {
  // Never more open than asked for, not even for a moment.
  return !path.empty() && ::mkdir(path.c_str(), mode & 0777U) == 0 && changeMode(path, mode);
}

bool makeFolderWithParents(const std::string& path, mode_t mode) {
  if (path.empty()) return false;
  std::vector<std::string> made;
  std::string folder;
  PathComponents components(path);
  while (const auto component = components.next()) {
    folder =
        folder.empty() ? std::string(*component) : pathByAppendingComponent(folder, *component);
    if (::mkdir(folder.c_str(), (mode & 0777U) | kOwnerMayFill) == 0) {
      made.push_back(folder);
    } else if (!fileExistsAtPath(folder).isDirectory) {
      return false;
    }
  }
  bool exact = true;
  for (auto deepest = made.rbegin(); deepest != made.rend(); ++deepest)
    exact = changeMode(*deepest, mode) && exact;
  return exact;
}

}  // namespace wevora::platform
