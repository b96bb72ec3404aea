#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <system_error>

#include "Platform/Base/Date.h"

namespace wevora::agent_sim {

/// What the disk says of an item; a link is not followed.
struct FileFacts {
  bool isFolder = false;
  dev_t device = 0;
  std::int64_t size = 0;  ///< bytes
  platform::Date date;    ///< of its last change
  std::string modified;   ///< the same, as the database writes it

  static std::optional<FileFacts> at(const std::string& path, std::error_code& failed);
};

/// Whether an item at a volume's top is the agent's own: its folder, or a database with what
/// belongs to it.
bool isOwnFile(std::string_view name);

}  // namespace wevora::agent_sim
