#include "Platform/Files/Listing.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace wevora::platform {
namespace {

struct FolderClose {
  void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

ItemKind kindOfMode(mode_t mode) {
  if (S_ISREG(mode)) return ItemKind::file;
  if (S_ISDIR(mode)) return ItemKind::folder;
  return S_ISLNK(mode) ? ItemKind::link : ItemKind::other;
}

ItemKind kindOf(int folder, const dirent& entry) {
  switch (entry.d_type) {
    case DT_REG:
      return ItemKind::file;
    case DT_DIR:
      return ItemKind::folder;
    case DT_LNK:
      return ItemKind::link;
    case DT_UNKNOWN: {
      struct stat facts {};
      if (::fstatat(folder, entry.d_name, &facts, AT_SYMLINK_NOFOLLOW) != 0)
        return ItemKind::unknown;
      return kindOfMode(facts.st_mode);
    }
    default:
      return ItemKind::other;
  }
}

}  // namespace

ItemKind kindOfItem(const std::string& path) {
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 ? kindOfMode(facts.st_mode) : ItemKind::unknown;
}

bool eachItemOfFolder(const std::string& folder,
                      const std::function<void(std::string_view name, ItemKind kind)>& use) {
  const std::unique_ptr<DIR, FolderClose> open(::opendir(folder.c_str()));
  if (!open) return false;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(open.get());
    if (entry == nullptr) return errno == 0;
    const std::string_view name(entry->d_name);
    if (name != "." && name != "..") use(name, kindOf(::dirfd(open.get()), *entry));
  }
}

}  // namespace wevora::platform
