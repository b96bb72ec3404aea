#pragma once

#include <span>

namespace wevora::agent_sim {

/// The command `serve`: runs as the agent until a signal or a command ends it. Answers the exit
/// status; throws WrongUsage, Failure and DatabaseFailure.
int runServe(std::span<const char* const> arguments);

}  // namespace wevora::agent_sim
