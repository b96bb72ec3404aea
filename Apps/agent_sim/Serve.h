#pragma once

#include "Apps/agent_sim/AgentOptions.h"

namespace wevora::agent_sim {

/// Runs as the agent until a signal or a command ends it, and returns the exit status. Throws
/// Failure and DatabaseFailure.
int runServe(const ServeOptions& options);

}  // namespace wevora::agent_sim
