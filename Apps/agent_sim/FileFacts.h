#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <system_error>

#include "Platform/Base/Date.h"

namespace wevora::agent_sim {

/// The metadata of an item; links are not followed.
struct FileFacts {
  bool isFolder = false;
  dev_t device = 0;
  std::int64_t size = 0;  ///< bytes
  platform::Date date;    ///< modification time
  std::string modified;   ///< the same in database format

  static std::optional<FileFacts> at(const std::string& path, std::error_code& failed);
};

/// Whether an item in the root folder of a volume belongs to the agent: its folder, or a database
/// and its journal files.
bool isOwnFile(std::string_view name);

}  // namespace wevora::agent_sim
