#include "Platform/Files/Copy/DirectoryCursor.h"

#include <fcntl.h>

#include "Platform/Base/Errno.h"

namespace wevora::platform {
namespace {

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

}  // namespace

std::error_code DirectoryCursor::enter(const std::string& name) {
  Descriptor below(::openat(folder(), name.c_str(), kOpenFolder));
  if (!below) return lastError();
  const auto status = statOf(below.get());
  if (!status) return lastError();
  levels_.push_back({std::move(below), ItemIdentity::of(*status)});
  // The top folder stays open: its identity is unknown, so ".." could not be verified.
  if (depth() > kOpenFolders) levels_[depth() - kOpenFolders].folder = Descriptor();
  return {};
}

std::error_code DirectoryCursor::leave() {
  auto& above = levels_[levels_.size() - 2];
  if (!above.folder) {
    Descriptor parent(::openat(folder(), "..", kOpenFolder));
    if (!parent) return lastError();
    const auto status = statOf(parent.get());
    if (!status) return lastError();
    if (ItemIdentity::of(*status) != above.identity) return errorOf(ESTALE);
    above.folder = std::move(parent);
  }
  levels_.pop_back();
  return {};
}

Descriptor openParentFolder(std::string_view path) {
  return Descriptor(::open(parentFolderOf(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace wevora::platform
