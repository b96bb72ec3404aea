#pragma once

#include <optional>
#include <string>
#include <unistd.h>

#include "Platform/Support/Descriptor.h"

namespace wevora::platform {

/// The folder in which this user's services have their sockets.
std::string userRuntimeFolder();

/// The socket of a service; none for a name that is no file name, and for a path too long for a
/// socket.
std::optional<std::string> socketPath(const std::string& folder, const std::string& name);

/// Connects to a socket that the user owns and listens on himself; costs one connect(2), never
/// waits. No descriptor where there is none, where nobody listens, and where somebody else does.
Descriptor connectToOwnSocket(const std::string& path, uid_t user = ::getuid());

}  // namespace wevora::platform
