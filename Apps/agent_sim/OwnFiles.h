#pragma once

#include <string_view>

namespace wevora::agent_sim {

/// Whether an item at the top of a volume belongs to the agent: its folder, a database, or a file
/// that accompanies a database.
bool isOwnFile(std::string_view name);

}  // namespace wevora::agent_sim
