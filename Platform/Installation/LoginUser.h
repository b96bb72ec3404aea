#pragma once

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

#include "Platform/Base/Mutex.h"

namespace wevora::platform {

// The password database, which may lie across a network and then keeps a caller waiting: it is
// asked once for the user of this process, and what it said is remembered. Any other user is asked
// for each time. Threads: any.

/// The name of the user that this process belongs to; none where the database has none.
std::optional<std::string> loginName();

/// The absolute path of a user's home folder; none for a user that the database does not have.
std::optional<std::string> homeFolderOfUser(const std::string& name);

/// The id of a user; none for one that the database does not have.
std::optional<uid_t> idOfUser(const std::string& name);

/// What the database has of a user.
struct PasswdEntry {
  std::string name;
  std::string homeFolder;  ///< "" where there is none
  uid_t id = 0;

  friend bool operator==(const PasswdEntry&, const PasswdEntry&) = default;
};

/// Remembers the row of a process's user.
/// Threads: any; none is kept waiting for another that asks.
/// Owns: the row.
/// Errors: none, where the database has no row or does not answer; it is asked again then.
class CachedUser {
 public:
  using Ask = std::function<std::optional<PasswdEntry>(uid_t)>;
  explicit CachedUser(Ask ask) : ask_(std::move(ask)) {}

  /// Asks anew where the process has become another user's.
  std::optional<PasswdEntry> row(uid_t user) EXCLUDES(lock_);

 private:
  const Ask ask_;
  Mutex lock_;
  std::optional<PasswdEntry> row_ GUARDED_BY(lock_);
};

}  // namespace wevora::platform
