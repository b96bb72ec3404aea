#include "Platform/Files/Copy/ItemCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include "Platform/Base/Errno.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/Copy/DirectoryCursor.h"
#include "Platform/Files/Copy/ItemRemoval.h"
#include "Platform/Files/Copy/ProtectedItem.h"
#include "Platform/Files/Copy/TreeCopy.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

std::string nameWhileCopied() {
  return ".wevora-" + randomUUID() + ".part";
}

Descriptor again(const Descriptor& descriptor) {
  return Descriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, 0));
}

/// Whether a volume only says that it does not know the call.
bool isNotKnown(int error) {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

}  // namespace

std::error_code ItemCopy::copy(const std::string& from, const std::string& to) {
  if (from.empty() || to.empty()) return errorOf(ENOENT);
  Descriptor fromFolder = folderHolding(from);
  const std::string source(lastPathComponent(from));
  const auto facts = fromFolder ? factsOf(fromFolder.get(), source) : std::nullopt;
  if (!facts) return lastError();
  const Descriptor folder = folderHolding(to);
  if (!folder) return lastError();
  const std::string name(lastPathComponent(to));
  if (factsOf(folder.get(), name)) return errorOf(EEXIST);
  if (errno != ENOENT) return lastError();
  // Its copy would be a part of what is still to be copied.
  if (S_ISDIR(facts->st_mode) && liesIn(parentFolderOf(to), from)) return errorOf(EINVAL);
  const std::string copied = nameWhileCopied();
  auto failed =
      TreeCopy(calls_, progress_, std::move(fromFolder), again(folder)).copy(source, copied);
  if (!failed) failed = publish(folder, copied, name);
  if (failed) removeWithContents(folder.get(), copied);
  return failed;
}

std::error_code ItemCopy::publish(const Descriptor& folder, const std::string& copied,
                                  const std::string& name) {
  // The bytes are on the volume, now the name: a crash leaves no destination with the right length
  // and wrong contents.
  if (calls_.renameToNew(folder.get(), copied, name) != 0) {
    if (!isNotKnown(errno)) return lastError();
    if (const auto failed = linkOrRename(folder, copied, name)) return failed;
  }
  const Descriptor open(::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (open) calls_.flush(open.get());
  return {};
}

std::error_code ItemCopy::linkOrRename(const Descriptor& folder, const std::string& copied,
                                       const std::string& name) {
  const auto facts = factsOf(folder.get(), copied);
  if (!facts) return lastError();
  if (!S_ISDIR(facts->st_mode)) {
    if (calls_.link(folder.get(), copied, name) == 0) {
      ::unlinkat(folder.get(), copied.c_str(), 0);
      return {};
    }
    if (errno != EPERM && errno != EMLINK && !isNotKnown(errno)) return lastError();
  }
  // A folder, which replaces nothing but an empty one; or a volume with one name for each file.
  if (factsOf(folder.get(), name)) return errorOf(EEXIST);
  return calls_.rename(folder.get(), copied, name) == 0 ? std::error_code() : lastError();
}

}  // namespace wevora::platform
