#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Platform/IPC/DistributedObjects.h"

namespace wevora {

/// The port of the user's agent: under its names in rising order, the first that yields one. Null
/// where none does, and without a user name.
std::shared_ptr<platform::SendPort> portOfDaemonConnection(
    platform::DistributedObjects& objects, const std::optional<std::string>& userName);

}  // namespace wevora
