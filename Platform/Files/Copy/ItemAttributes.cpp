#include "Platform/Files/Copy/ItemAttributes.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/Errno.h"

namespace wevora::platform {
namespace {

/// Whether the volume does not support an attribute, or this user may not set it.
bool isUnsupported(int error) {
  return error == EPERM || error == EACCES || error == EOPNOTSUPP || error == ENOSYS ||
         error == EINVAL;
}

/// The same for an extended attribute; volumes also limit the size of all attributes of an item.
bool isUnsupportedAttribute(int error) {
  return isUnsupported(error) || error == E2BIG || error == ENOSPC || error == ERANGE ||
         error == EDQUOT;
}

std::error_code unlessUnsupported(int result) {
  return result == 0 || isUnsupported(errno) ? std::error_code() : lastError();
}

/// Reads and writes the extended attributes of one item.
class ExtendedAttributes {
 public:
  /// Of an open file or folder.
  explicit ExtendedAttributes(int item) : item_(item) {}
  /// Of a link opened with O_PATH: the f*xattr calls refuse such descriptors (EBADF), the path in
  /// /proc/self/fd reaches the link itself.
  static ExtendedAttributes ofLink(int descriptor) {
    ExtendedAttributes link(descriptor);
    link.path_ = "/proc/self/fd/" + std::to_string(descriptor);
    return link;
  }

  ssize_t list(char* names, std::size_t size) const {
    return path_.empty() ? ::flistxattr(item_, names, size)
                         : ::listxattr(path_.c_str(), names, size);
  }
  ssize_t get(const char* name, char* value, std::size_t size) const {
    return path_.empty() ? ::fgetxattr(item_, name, value, size)
                         : ::getxattr(path_.c_str(), name, value, size);
  }
  int set(const char* name, const std::vector<char>& value) const {
    return path_.empty() ? ::fsetxattr(item_, name, value.data(), value.size(), 0)
                         : ::setxattr(path_.c_str(), name, value.data(), value.size(), 0);
  }

 private:
  int item_;
  std::string path_;
};

std::vector<char> namesOf(const ExtendedAttributes& item) {
  for (;;) {
    const ssize_t needed = item.list(nullptr, 0);
    if (needed <= 0) return {};
    std::vector<char> names(static_cast<std::size_t>(needed));
    const ssize_t length = item.list(names.data(), names.size());
    if (length < 0 && errno == ERANGE) continue;  // an attribute was added in between
    names.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return names;
  }
}

std::error_code copyAttribute(const ExtendedAttributes& from, const ExtendedAttributes& to,
                              const char* name) {
  std::vector<char> value;
  ssize_t length = 0;
  do {
    const ssize_t needed = from.get(name, nullptr, 0);
    if (needed < 0) return {};  // removed meanwhile, or not readable for this user
    value.resize(static_cast<std::size_t>(needed) + 1);
    length = from.get(name, value.data(), value.size());
  } while (length < 0 && errno == ERANGE);
  if (length < 0) return {};
  value.resize(static_cast<std::size_t>(length));
  if (to.set(name, value) == 0 || isUnsupportedAttribute(errno)) return {};
  return lastError();
}

std::error_code copyAll(const ExtendedAttributes& from, const ExtendedAttributes& to) {
  const auto names = namesOf(from);
  std::string_view rest(names.data(), names.size());
  while (!rest.empty()) {
    const std::string name(rest.substr(0, rest.find('\0')));
    if (const auto failed = copyAttribute(from, to, name.c_str())) return failed;
    rest.remove_prefix(std::min(rest.size(), name.size() + 1));
  }
  return {};
}

std::array<timespec, 2> datesOf(const FileStat& status) {
  return {status.st_atim, status.st_mtim};
}

}  // namespace

std::error_code removeInheritedAcl(int item) {
  for (const auto* acl : {"system.posix_acl_access", "system.posix_acl_default"})
    if (::fremovexattr(item, acl) != 0 && errno != ENODATA && !isUnsupported(errno))
      return lastError();
  return {};
}

std::error_code copyAttributes(int from, int to, const FileStat& status) {
  mode_t mode = status.st_mode & 07777U;
  if (::fchown(to, status.st_uid, status.st_gid) != 0) {
    if (const auto failed = unlessUnsupported(-1)) return failed;
    mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);  // would grant the rights of another owner
  }
  if (const auto failed = copyAll(ExtendedAttributes(from), ExtendedAttributes(to))) return failed;
  if (const auto failed = unlessUnsupported(::fchmod(to, mode))) return failed;
  return unlessUnsupported(::futimens(to, datesOf(status).data()));
}

std::error_code copyLinkAttributes(int fromFolder, const std::string& from, int toFolder,
                                   const std::string& to, const FileStat& status) {
  constexpr int kOpenLink = O_PATH | O_NOFOLLOW | O_CLOEXEC;
  const Descriptor source(::openat(fromFolder, from.c_str(), kOpenLink));
  const Descriptor copy(::openat(toFolder, to.c_str(), kOpenLink));
  if (!source || !copy) return lastError();
  if (const auto failed = unlessUnsupported(
          ::fchownat(toFolder, to.c_str(), status.st_uid, status.st_gid, AT_SYMLINK_NOFOLLOW)))
    return failed;
  if (const auto failed =
          copyAll(ExtendedAttributes::ofLink(source.get()), ExtendedAttributes::ofLink(copy.get())))
    return failed;
  return unlessUnsupported(
      ::utimensat(toFolder, to.c_str(), datesOf(status).data(), AT_SYMLINK_NOFOLLOW));
}

}  // namespace wevora::platform
