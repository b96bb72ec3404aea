#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Platform/IPC/DistributedObjects.h"

namespace wevora {

/// The port of the user's agent. Tries the agent's names in ascending order of seeds and returns
/// the first port found; null if there is none, or without a user name.
std::shared_ptr<platform::SendPort> portOfDaemonConnection(
    platform::DistributedObjects& objects, const std::optional<std::string>& userName);

}  // namespace wevora
