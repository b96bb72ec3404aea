#include "Platform/Files/Listing.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>

#include "Platform/Base/Descriptor.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

struct FolderClose {
  void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

ItemKind kindOf(int folder, const dirent& entry) {
  switch (entry.d_type) {
    case DT_REG:
      return ItemKind::file;
    case DT_DIR:
      return ItemKind::folder;
    case DT_LNK:
      return ItemKind::link;
    case DT_UNKNOWN: {
      const auto status = statOf(folder, entry.d_name);
      return status ? kindOfMode(status->st_mode) : ItemKind::unknown;
    }
    default:
      return ItemKind::other;
  }
}

using OpenFolder = std::unique_ptr<DIR, FolderClose>;
using Use = std::function<void(std::string_view name, ItemKind kind)>;

bool forEachEntryOf(const OpenFolder& open, const Use& use) {
  if (!open) return false;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(open.get());
    if (entry == nullptr) return errno == 0;
    const std::string_view name(entry->d_name);
    if (name != "." && name != "..") use(name, kindOf(::dirfd(open.get()), *entry));
  }
}

}  // namespace

ItemKind kindOfMode(mode_t mode) {
  if (S_ISREG(mode)) return ItemKind::file;
  if (S_ISDIR(mode)) return ItemKind::folder;
  return S_ISLNK(mode) ? ItemKind::link : ItemKind::other;
}

ItemKind kindOfItem(const std::string& path) {
  const auto status = statOf(path);
  return status ? kindOfMode(status->st_mode) : ItemKind::unknown;
}

bool forEachEntry(const std::string& folder, const Use& use) {
  return forEachEntryOf(OpenFolder(::opendir(folder.c_str())), use);
}

bool forEachEntry(int folder, const Use& use) {
  Descriptor duplicate(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
  if (!duplicate) return false;
  const OpenFolder open(::fdopendir(duplicate.get()));
  if (!open) return false;
  duplicate.release();
  ::rewinddir(open.get());  // duplicates share the read offset
  return forEachEntryOf(open, use);
}

}  // namespace wevora::platform
