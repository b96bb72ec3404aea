#include "Platform/Files/Trash.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <pwd.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

std::optional<ItemIdentity> folderIdentity(const std::string& path) {
  const auto facts = factsOf(path);
  if (!facts || !S_ISDIR(facts->st_mode)) return std::nullopt;
  return ItemIdentity::of(*facts);
}

std::string homeOfUser(uid_t user) {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') return home;
  std::array<char, 4096> texts{};
  passwd entry{};
  passwd* found = nullptr;
  ::getpwuid_r(user, &entry, texts.data(), texts.size(), &found);
  return found != nullptr ? found->pw_dir : "/";
}

/// The topmost folder on the item's volume, links in the path resolved.
std::string topOfVolume(const std::string& path, dev_t device) {
  std::error_code failed;
  std::string top =
      std::filesystem::canonical(std::string(pathWithoutLastComponent(path)), failed).string();
  const auto factsOfTop = failed ? std::nullopt : factsOf(top);
  if (!factsOfTop || factsOfTop->st_dev != device) return path;  // the item is the top
  while (top != "/") {
    std::string above(pathWithoutLastComponent(top));
    const auto facts = factsOf(above);
    if (!facts || facts->st_dev != device) break;
    top = std::move(above);
  }
  return top;
}

/// ".Trash" is everybody's, so it must be a folder in which nobody can remove what is another's.
bool isSharedTrash(const std::string& path) {
  const auto facts = factsOf(path);
  return facts && S_ISDIR(facts->st_mode) && (facts->st_mode & S_ISVTX) != 0;
}

/// The home Trash is that of the volume which holds it. It may be a link; both the link and the
/// folder that it leads to stand for it then.
void addHomeTrash(std::vector<ItemIdentity>& folders, dev_t device, const TrashPlaces& places) {
  struct stat target {};
  if (::stat(places.homeTrash.c_str(), &target) != 0 || !S_ISDIR(target.st_mode) ||
      target.st_dev != device)
    return;
  folders.push_back(ItemIdentity::of(target));
  if (const auto itself = factsOf(places.homeTrash)) folders.push_back(ItemIdentity::of(*itself));
}

std::vector<ItemIdentity> trashFoldersFor(const std::string& path, dev_t device,
                                          const TrashPlaces& places) {
  std::vector<ItemIdentity> folders;
  const auto add = [&](const std::string& folder) {
    if (const auto identity = folderIdentity(folder)) folders.push_back(*identity);
  };
  addHomeTrash(folders, device, places);
  struct stat home {};
  if (::stat(places.home.c_str(), &home) == 0 && home.st_dev == device) return folders;
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
  const auto facts = factsOf(item);
  if (!facts) return false;
  const auto trashes = trashFoldersFor(item, facts->st_dev, places);
  for (std::string above = item; above.size() > 1;) {
    above = pathWithoutLastComponent(above);
    const auto factsAbove = factsOf(above);
    for (const auto& trash : trashes)
      if (factsAbove && ItemIdentity::of(*factsAbove) == trash) return true;
  }
  return false;
}

}  // namespace wevora::platform
