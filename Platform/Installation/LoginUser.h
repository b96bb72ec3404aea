#pragma once

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

// Lookups in the password database. A lookup may block, because the database may be a network
// service; the entry of the process's own user is therefore cached. Other users are looked up each
// time. Thread-safety: any thread.

/// The name of the process's user; nullopt if the database has no name for it.
std::optional<std::string> loginName();

/// The absolute path of a user's home folder; nullopt for an unknown user.
std::optional<std::string> homeFolderOfUser(const std::string& name);

/// The id of a user; nullopt for an unknown user.
std::optional<uid_t> idOfUser(const std::string& name);

/// A user's entry in the password database.
struct PasswdEntry {
  std::string name;
  std::string homeFolder;  ///< "" if the entry has no home folder
  uid_t id = 0;

  friend bool operator==(const PasswdEntry&, const PasswdEntry&) = default;
};

/// Caches the password database entry of the process's user.
/// Thread-safety: any thread; concurrent callers do not block each other.
/// Errors: a failed lookup is not cached and returns nullopt.
class CachedUser {
 public:
  using LookUp = std::function<std::optional<PasswdEntry>(uid_t)>;
  explicit CachedUser(LookUp lookUp) : lookUp_(std::move(lookUp)) {}

  /// Looks the entry up again if the process's user has changed.
  std::optional<PasswdEntry> entry(uid_t user) EXCLUDES(lock_);

 private:
  const LookUp lookUp_;
  Mutex lock_;
  std::optional<PasswdEntry> entry_ GUARDED_BY(lock_);
};

}  // namespace wevora::platform
