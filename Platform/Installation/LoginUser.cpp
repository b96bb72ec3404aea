#include "Platform/Installation/LoginUser.h"

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

constexpr std::size_t kFirstSize = 1024;
constexpr std::size_t kLargestSize = 1024UL * 1024;

std::string textOf(const char* text) {
  return text == nullptr ? std::string() : text;
}

/// Asks with a buffer that grows until the row fits.
template <class Ask>
std::optional<PasswdEntry> askFor(Ask ask) {
  passwd row{};
  passwd* found = nullptr;
  for (std::size_t size = kFirstSize; size <= kLargestSize; size *= 2) {
    std::vector<char> buffer(size);
    const int error = ask(&row, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (error != 0 || found == nullptr) return std::nullopt;
    return PasswdEntry{textOf(row.pw_name), textOf(row.pw_dir), row.pw_uid};
  }
  return std::nullopt;
}

std::optional<PasswdEntry> rowOfId(uid_t user) {
  return askFor([user](passwd* row, char* buffer, std::size_t size, passwd** found) {
    return ::getpwuid_r(user, row, buffer, size, found);
  });
}

std::optional<PasswdEntry> ownRow() {
  static NeverDestroyed<CachedUser> remembered{&rowOfId};
  return remembered->row(::getuid());
}

std::optional<PasswdEntry> rowOfName(const std::string& name) {
  if (auto own = ownRow(); own && own->name == name) return own;
  return askFor([&name](passwd* row, char* buffer, std::size_t size, passwd** found) {
    return ::getpwnam_r(name.c_str(), row, buffer, size, found);
  });
}

}  // namespace

std::optional<PasswdEntry> CachedUser::row(uid_t user) {
  {
    const MutexLock held(lock_);
    if (row_ && row_->id == user) return row_;
  }
  auto row = ask_(user);
  const MutexLock held(lock_);
  if (row) row_ = row;
  return row;
}

std::optional<std::string> loginName() {
  const auto row = ownRow();
  return row && !row->name.empty() ? std::optional(row->name) : std::nullopt;
}

std::optional<std::string> homeFolderOfUser(const std::string& name) {
  const auto row = rowOfName(name);
  return row && row->homeFolder.starts_with('/') ? std::optional(row->homeFolder) : std::nullopt;
}

std::optional<uid_t> idOfUser(const std::string& name) {
  const auto row = rowOfName(name);
  return row ? std::optional(row->id) : std::nullopt;
}

}  // namespace wevora::platform
