#pragma once

#include <memory>

#include "Connector/IDaemonConnection.h"

namespace wevora {

/// The agent in another process, as a root proxy reaches it.
/// Threads: as the root proxy. Owns: a share of it.
/// Errors: a call that fails yields none, NO, 0, or an empty list; it is not told apart.
std::shared_ptr<IDaemonConnection> daemonConnectionOver(
    std::shared_ptr<platform::RootProxy> rootProxy);

}  // namespace wevora
