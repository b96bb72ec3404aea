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

std::string temporaryName() {
  return ".wevora-" + randomUUID() + ".part";
}

Descriptor duplicate(const Descriptor& descriptor) {
  return Descriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, 0));
}

/// Whether the volume does not support the call.
bool isUnsupported(int error) {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

}  // namespace

std::error_code ItemCopy::copy(const std::string& from, const std::string& to) {
  if (from.empty() || to.empty()) return errorOf(ENOENT);
  Descriptor fromFolder = openParentFolder(from);
  const std::string source(lastPathComponent(from));
  const auto status = fromFolder ? statOf(fromFolder.get(), source) : std::nullopt;
  if (!status) return lastError();
  const Descriptor folder = openParentFolder(to);
  if (!folder) return lastError();
  const std::string name(lastPathComponent(to));
  if (statOf(folder.get(), name)) return errorOf(EEXIST);
  if (errno != ENOENT) return lastError();
  // The copy would be among the items still to copy.
  if (isDirectory(*status) && isInside(parentFolderOf(to), from)) return errorOf(EINVAL);
  const std::string copied = temporaryName();
  auto failed =
      TreeCopy(calls_, progress_, std::move(fromFolder), duplicate(folder)).copy(source, copied);
  if (!failed) failed = publish(folder, copied, name);
  if (failed) removeWithContents(folder.get(), copied);
  return failed;
}

std::error_code ItemCopy::publish(const Descriptor& folder, const std::string& copied,
                                  const std::string& name) {
  // The bytes are flushed before the rename: after a crash no destination has the right length and
  // wrong contents.
  if (calls_.renameNoReplace(folder.get(), copied, name) != 0) {
    if (!isUnsupported(errno)) return lastError();
    if (const auto failed = linkOrRename(folder, copied, name)) return failed;
  }
  const Descriptor open(::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (open) calls_.flush(open.get());
  return {};
}

std::error_code ItemCopy::linkOrRename(const Descriptor& folder, const std::string& copied,
                                       const std::string& name) {
  const auto status = statOf(folder.get(), copied);
  if (!status) return lastError();
  if (!isDirectory(*status)) {
    if (calls_.link(folder.get(), copied, name) == 0) {
      ::unlinkat(folder.get(), copied.c_str(), 0);
      return {};
    }
    if (errno != EPERM && errno != EMLINK && !isUnsupported(errno)) return lastError();
  }
  // A folder, whose rename can replace only an empty folder; or a volume without hard links.
  if (statOf(folder.get(), name)) return errorOf(EEXIST);
  return calls_.rename(folder.get(), copied, name) == 0 ? std::error_code() : lastError();
}

}  // namespace wevora::platform
