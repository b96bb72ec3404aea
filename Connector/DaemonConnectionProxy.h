#pragma once

#include <memory>

#include "Connector/IDaemonConnection.h"

namespace wevora {

/// The agent in another process, called through a root proxy.
/// Thread-safety: that of the root proxy.
/// Errors: a failed call returns nullopt, NO, 0, or an empty list, like a call that has such a
///   result.
std::shared_ptr<IDaemonConnection> daemonConnectionOver(
    std::shared_ptr<platform::RootProxy> rootProxy);

}  // namespace wevora
