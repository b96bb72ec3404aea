#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace wevora::platform {

// The password database. Threads: any.

/// The name of the user that this process belongs to; none where the database has none.
std::optional<std::string> loginName();

/// The absolute path of a user's home folder; none for a user that the database does not have.
std::optional<std::string> homeFolderOfUser(const std::string& name);

/// The id of a user; none for one that the database does not have.
std::optional<uid_t> idOfUser(const std::string& name);

}  // namespace wevora::platform
