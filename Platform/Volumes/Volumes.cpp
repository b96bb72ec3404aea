#include "Platform/Volumes/Volumes.h"

#include <memory>

#include <gio/gunixmounts.h>

#include "Platform/Base/Strings.h"

namespace wevora::platform {
namespace {

struct MountsFree {
  void operator()(GList* list) const noexcept {
    g_list_free_full(
        list, [](gpointer mount) { g_unix_mount_free(static_cast<GUnixMountEntry*>(mount)); });
  }
};

}  // namespace

std::optional<std::string> Volumes::fileSystemTypeOf(std::string_view mountPoint) const {
  const auto root = withoutTrailingSeparators(mountPoint);
  std::optional<std::string> type;
  for (auto& volume : mountedVolumes())
    if (volume.rootPath == root) type = std::move(volume.fileSystemType);
  return type;
}

std::vector<Volume> SystemVolumes::mountedVolumes() const {
  const std::unique_ptr<GList, MountsFree> mounts(g_unix_mounts_get(nullptr));
  std::vector<Volume> volumes;
  for (const GList* item = mounts.get(); item != nullptr; item = item->next) {
    auto* mount = static_cast<GUnixMountEntry*>(item->data);
    volumes.push_back({g_unix_mount_get_mount_path(mount), g_unix_mount_get_fs_type(mount)});
  }
  return volumes;
}

}  // namespace wevora::platform
