#include "Platform/FileCopy/ItemAttributes.h"

#include <array>
#include <fcntl.h>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

#include "Platform/Support/Errno.h"

namespace wevora::platform {
namespace {

/// Whether an error only says that the volume, or this user, cannot do it.
bool cannotBeHeld(int error) {
  return error == EPERM || error == EACCES || error == EOPNOTSUPP || error == ENOSYS ||
         error == EINVAL;
}

/// The same for an extended attribute; volumes also bound how much of them an item may have.
bool attributeCannotBeHeld(int error) {
  return cannotBeHeld(error) || error == E2BIG || error == ENOSPC || error == ERANGE ||
         error == EDQUOT;
}

std::error_code unlessHeld(int result) {
  return result == 0 || cannotBeHeld(errno) ? std::error_code() : lastError();
}

std::vector<char> attributeNames(const std::string& path) {
  for (;;) {
    const ssize_t needed = ::llistxattr(path.c_str(), nullptr, 0);
    if (needed <= 0) return {};
    std::vector<char> names(static_cast<std::size_t>(needed));
    const ssize_t length = ::llistxattr(path.c_str(), names.data(), names.size());
    if (length < 0 && errno == ERANGE) continue;  // more came in between
    names.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return names;
  }
}

std::error_code copyAttribute(const std::string& from, const std::string& to, const char* name) {
  std::vector<char> value;
  ssize_t length = 0;
  do {
    const ssize_t needed = ::lgetxattr(from.c_str(), name, nullptr, 0);
    if (needed < 0) return {};  // gone since, or not for this user
    value.resize(static_cast<std::size_t>(needed) + 1);
    length = ::lgetxattr(from.c_str(), name, value.data(), value.size());
  } while (length < 0 && errno == ERANGE);
  if (length < 0) return {};
  if (::lsetxattr(to.c_str(), name, value.data(), static_cast<std::size_t>(length), 0) == 0 ||
      attributeCannotBeHeld(errno))
    return {};
  return lastError();
}

std::error_code copyExtendedAttributes(const std::string& from, const std::string& to) {
  const auto names = attributeNames(from);
  std::string_view rest(names.data(), names.size());
  while (!rest.empty()) {
    const std::string name(rest.substr(0, rest.find('\0')));
    if (const auto failed = copyAttribute(from, to, name.c_str())) return failed;
    rest.remove_prefix(std::min(rest.size(), name.size() + 1));
  }
  return {};
}

}  // namespace

std::error_code copyAttributes(const std::string& from, const std::string& to,
                               const struct stat& facts) {
  mode_t mode = facts.st_mode & 07777U;
  if (::lchown(to.c_str(), facts.st_uid, facts.st_gid) != 0) {
    if (const auto failed = unlessHeld(-1)) return failed;
    mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);  // they lend the rights of another owner
  }
  if (const auto failed = copyExtendedAttributes(from, to)) return failed;
  if (!S_ISLNK(facts.st_mode))
    if (const auto failed = unlessHeld(::chmod(to.c_str(), mode))) return failed;
  const std::array<timespec, 2> dates = {facts.st_atim, facts.st_mtim};
  return unlessHeld(::utimensat(AT_FDCWD, to.c_str(), dates.data(), AT_SYMLINK_NOFOLLOW));
}

}  // namespace wevora::platform
