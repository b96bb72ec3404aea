#include "Platform/Volumes/Volumes.h"

#include <memory>

#include "Platform/Base/Strings.h"
#include "Platform/Volumes/UnixMounts.h"

namespace wevora::platform {
namespace {

struct MountsFree {
  void operator()(GList* list) const noexcept {
    g_list_free_full(
        list, [](gpointer mount) { unix_mounts::free(static_cast<GUnixMountEntry*>(mount)); });
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
  const std::unique_ptr<GList, MountsFree> mounts(unix_mounts::entries());
  std::vector<Volume> volumes;
  for (const GList* item = mounts.get(); item != nullptr; item = item->next) {
    auto* mount = static_cast<GUnixMountEntry*>(item->data);
    volumes.push_back({unix_mounts::path(mount), unix_mounts::fileSystemType(mount)});
  }
  return volumes;
}

}  // namespace wevora::platform
