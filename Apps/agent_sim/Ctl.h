#pragma once

#include "Apps/agent_sim/AgentOptions.h"

namespace wevora::agent_sim {

/// Sends a command to a running agent, and returns the exit status. Throws Failure.
int runCtl(const CtlOptions& options);

}  // namespace wevora::agent_sim
