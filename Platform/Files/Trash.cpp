#include "Platform/Files/Trash.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <pwd.h>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

std::optional<ItemIdentity> folderIdentity(const std::string& path) {
  const auto status = statOf(path);
  return isDirectory(status) ? std::optional(ItemIdentity::of(*status)) : std::nullopt;
}

std::string homeOfUser(uid_t user) {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') return home;
  std::array<char, 4096> texts{};
  passwd entry{};
  passwd* found = nullptr;
  ::getpwuid_r(user, &entry, texts.data(), texts.size(), &found);
  return found != nullptr ? found->pw_dir : "/";
}

/// The topmost folder on the item's volume; links in the path are resolved.
std::string topOfVolume(const std::string& path, dev_t device) {
  std::error_code failed;
  std::string top =
      std::filesystem::canonical(std::string(pathWithoutLastComponent(path)), failed).string();
  const auto topStatus = failed ? std::nullopt : statOf(top);
  if (!topStatus || topStatus->st_dev != device) return path;  // the item is the top
  while (top != "/") {
    std::string above(pathWithoutLastComponent(top));
    const auto status = statOf(above);
    if (!status || status->st_dev != device) break;
    top = std::move(above);
  }
  return top;
}

/// All users write to ".Trash", so it counts only with the sticky bit, which keeps them from
/// removing the items of others.
bool isSharedTrash(const std::string& path) {
  const auto status = statOf(path);
  return isDirectory(status) && (status->st_mode & S_ISVTX) != 0;
}

/// The home Trash belongs to the volume that contains it. When it is a link, both the link and its
/// target count as the Trash.
void addHomeTrash(std::vector<ItemIdentity>& folders, dev_t device, const TrashPlaces& places) {
  const auto target = statOfTarget(places.homeTrash);
  if (!isDirectory(target) || target->st_dev != device) return;
  folders.push_back(ItemIdentity::of(*target));
  if (const auto itself = statOf(places.homeTrash)) folders.push_back(ItemIdentity::of(*itself));
}

std::vector<ItemIdentity> trashFoldersFor(const std::string& path, dev_t device,
                                          const TrashPlaces& places) {
  std::vector<ItemIdentity> folders;
  const auto add = [&](const std::string& folder) {
    if (const auto identity = folderIdentity(folder)) folders.push_back(*identity);
  };
  addHomeTrash(folders, device, places);
  const auto home = statOfTarget(places.home);
  if (home && home->st_dev == device) return folders;
  const std::string top = topOfVolume(path, device);
  const std::string user = std::to_string(places.user);
  const std::string shared = pathByAppendingComponent(top, ".Trash");
  if (isSharedTrash(shared)) add(shared + "/" + user);
  add(pathByAppendingComponent(top, ".Trash-" + user));
  return folders;
}

}  // namespace

TrashPlaces TrashPlaces::ofThisUser() {
  const uid_t user = ::getuid();
  std::string home = homeOfUser(user);
  const char* data = std::getenv("XDG_DATA_HOME");
  const std::string folder =
      data != nullptr && *data == '/' ? data : pathByAppendingComponent(home, ".local/share");
  return {std::move(home), pathByAppendingComponent(folder, "Trash"), user};
}

bool isInsideTrash(const std::string& path, const TrashPlaces& places) {
  if (path.empty()) return false;
  const std::string item = standardizedPath(path);
  const auto status = statOf(item);
  if (!status) return false;
  const auto trashes = trashFoldersFor(item, status->st_dev, places);
  for (std::string above = item; above.size() > 1;) {
    above = pathWithoutLastComponent(above);
    const auto folder = statOf(above);
    for (const auto& trash : trashes)
      if (folder && ItemIdentity::of(*folder) == trash) return true;
  }
  return false;
}

}  // namespace wevora::platform
