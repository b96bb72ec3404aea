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
  const auto facts = factsOf(below.get());
  if (!facts) return lastError();
  levels_.push_back({std::move(below), ItemIdentity::of(*facts)});
  // The top stays open: it alone cannot be found again from below.
  if (depth() > kOpenFolders) levels_[depth() - kOpenFolders].folder = Descriptor();
  return {};
}

std::error_code DirectoryCursor::leave() {
  auto& above = levels_[levels_.size() - 2];
  if (!above.folder) {
    Descriptor found(::openat(folder(), "..", kOpenFolder));
    if (!found) return lastError();
    const auto facts = factsOf(found.get());
    if (!facts) return lastError();
    if (ItemIdentity::of(*facts) != above.identity) return errorOf(ESTALE);
    above.folder = std::move(found);
  }
  levels_.pop_back();
  return {};
}

Descriptor folderHolding(std::string_view path) {
  return Descriptor(::open(parentFolderOf(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace wevora::platform
