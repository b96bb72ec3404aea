#pragma once

#include <span>

namespace wevora::agent_sim {

/// The command `ctl`: gives a command to a running agent. Answers the exit status; throws
/// WrongUsage and Failure.
int runCtl(std::span<const char* const> arguments);

}  // namespace wevora::agent_sim
