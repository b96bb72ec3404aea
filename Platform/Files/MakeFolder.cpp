#include "Platform/Files/MakeFolder.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Strings.h"
#include "Platform/Files/Files.h"

namespace wevora::platform {
namespace {

/// What a folder needs while something is made inside it.
constexpr mode_t kOwnerMayFill = 0700;

/// Whether a new folder has the mode, as far as its volume can hold it.
bool hasMode(const std::string& folder, mode_t mode, ChangeMode change) {
  if (change(folder.c_str(), mode) == 0) return true;
  return errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS;  // it is ours, so: none can
}

/// Makes what is missing of a path, from the top down; false when that did not go to its end.
bool madeAll(const std::string& path, mode_t mode, std::vector<std::string>& made) {
  std::string folder;
  PathComponents components(path);
  while (const auto component = components.next()) {
    folder =
        folder.empty() ? std::string(*component) : pathByAppendingComponent(folder, *component);
    if (::mkdir(folder.c_str(), mode) == 0)
      made.push_back(folder);
    else if (!fileExistsAtPath(folder).isDirectory)
      return false;
  }
  return true;
}

}  // namespace

bool changeMode(const std::string& path, mode_t mode) {
  return !path.empty() && ::chmod(path.c_str(), mode) == 0;
}

bool makeFolder(const std::string& path, mode_t mode, ChangeMode change) {
  // Never more open than asked for, not even for a moment.
  if (path.empty() || ::mkdir(path.c_str(), mode & 0777U) != 0) return false;
  if (hasMode(path, mode, change)) return true;
  ::rmdir(path.c_str());
  return false;
}

bool makeFolderWithParents(const std::string& path, mode_t mode, ChangeMode change) {
  if (path.empty()) return false;
  std::vector<std::string> made;
  bool done = madeAll(path, (mode & 0777U) | kOwnerMayFill, made);
  // From the deepest up: a folder's own mode may keep its owner from reaching what is in it.
  for (auto folder = made.rbegin(); folder != made.rend(); ++folder) {
    // One that somebody has filled meanwhile stays, as it was asked for.
    if (!done && ::rmdir(folder->c_str()) == 0) continue;
    if (!hasMode(*folder, mode, change)) {
      ::rmdir(folder->c_str());
      done = false;
    }
  }
  return done;
}

}  // namespace wevora::platform
