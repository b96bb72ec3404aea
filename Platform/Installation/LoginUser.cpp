#include "Platform/Installation/LoginUser.h"

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

constexpr std::size_t kFirstSize = 1024;         // bytes
constexpr std::size_t kMaxSize = 1024UL * 1024;  // bytes

std::string textOf(const char* text) {
  return text == nullptr ? std::string() : text;
}

/// Looks an entry up with a buffer that grows until the entry fits.
template <class LookUp>
std::optional<PasswdEntry> lookUp(LookUp call) {
  passwd entry{};
  passwd* found = nullptr;
  for (std::size_t size = kFirstSize; size <= kMaxSize; size *= 2) {
    std::vector<char> buffer(size);
    const int error = call(&entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (error != 0 || found == nullptr) return std::nullopt;
    return PasswdEntry{textOf(entry.pw_name), textOf(entry.pw_dir), entry.pw_uid};
  }
  return std::nullopt;
}

std::optional<PasswdEntry> entryOfId(uid_t user) {
  return lookUp([user](passwd* entry, char* buffer, std::size_t size, passwd** found) {
    return ::getpwuid_r(user, entry, buffer, size, found);
  });
}

std::optional<PasswdEntry> ownEntry() {
  static NeverDestroyed<CachedUser> cached{&entryOfId};
  return cached->entry(::getuid());
}

std::optional<PasswdEntry> entryOfName(const std::string& name) {
  if (auto own = ownEntry(); own && own->name == name) return own;
  return lookUp([&name](passwd* entry, char* buffer, std::size_t size, passwd** found) {
    return ::getpwnam_r(name.c_str(), entry, buffer, size, found);
  });
}

}  // namespace

std::optional<PasswdEntry> CachedUser::entry(uid_t user) {
  {
    const MutexLock held(lock_);
    if (entry_ && entry_->id == user) return entry_;
  }
  auto entry = lookUp_(user);
  const MutexLock held(lock_);
  if (entry) entry_ = entry;
  return entry;
}

std::optional<std::string> loginName() {
  const auto entry = ownEntry();
  return entry && !entry->name.empty() ? std::optional(entry->name) : std::nullopt;
}

std::optional<std::string> homeFolderOfUser(const std::string& name) {
  const auto entry = entryOfName(name);
  return entry && entry->homeFolder.starts_with('/') ? std::optional(entry->homeFolder)
                                                     : std::nullopt;
}

std::optional<uid_t> idOfUser(const std::string& name) {
  const auto entry = entryOfName(name);
  return entry ? std::optional(entry->id) : std::nullopt;
}

}  // namespace wevora::platform
