#include "Platform/Files/MakeFolder.h"

#include <cerrno>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

/// Permission bits that the owner needs to create items in a folder.
constexpr mode_t kOwnerMayFill = 0700;

/// Sets the mode of a new folder. True also when the volume does not support modes.
bool setMode(const std::string& folder, mode_t mode, ChangeMode change) {
  if (change(folder.c_str(), mode) == 0) return true;
  // This process owns the folder, so EPERM does not mean that another user could.
  return errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS;
}

/// Creates the missing folders of a path, from the top down; false on the first failure.
bool makeMissing(const std::string& path, mode_t mode, std::vector<std::string>& made) {
  std::string folder;
  PathComponents components(path);
  while (const auto component = components.next()) {
    folder =
        folder.empty() ? std::string(*component) : pathByAppendingComponent(folder, *component);
    if (::mkdir(folder.c_str(), mode) == 0)
      made.push_back(folder);
    else if (!isDirectory(statOfTarget(folder)))
      return false;
  }
  return true;
}

}  // namespace

bool changeMode(const std::string& path, mode_t mode) {
  return !path.empty() && ::chmod(path.c_str(), mode) == 0;
}

bool makeFolder(const std::string& path, mode_t mode, ChangeMode change) {
  // The folder never has more permission bits than requested, not even between the two calls.
  if (path.empty() || ::mkdir(path.c_str(), mode & 0777U) != 0) return false;
  if (setMode(path, mode, change)) return true;
  ::rmdir(path.c_str());
  return false;
}

bool makeFolderWithParents(const std::string& path, mode_t mode, ChangeMode change) {
  if (path.empty()) return false;
  std::vector<std::string> made;
  bool done = makeMissing(path, (mode & 0777U) | kOwnerMayFill, made);
  // Deepest first: the requested mode may deny the owner access to the folders below.
  for (auto folder = made.rbegin(); folder != made.rend(); ++folder) {
    // After a failure, a folder that another process has filled meanwhile stays.
    if (!done && ::rmdir(folder->c_str()) == 0) continue;
    if (!setMode(*folder, mode, change)) {
      ::rmdir(folder->c_str());
      done = false;
    }
  }
  return done;
}

}  // namespace wevora::platform
