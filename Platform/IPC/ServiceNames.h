#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/UnixAddress.h"

namespace wevora::platform {

/// The folder in which this user's services have their sockets.
std::string userRuntimeFolder();

/// The socket of a service; none for a name that is no file name, and for a path too long for a
/// socket.
std::optional<std::string> socketPath(const std::string& folder, const std::string& name);

/// What is asked of the system about another's socket; a test counts, or answers in its stead.
/// Threads: any. Owns: nothing. Errors: as the system calls.
class SocketCalls {
 public:
  virtual ~SocketCalls() = default;
  /// 0, or why not.
  virtual int connect(int socket, const UnixAddress& address);
  /// Who listens on the other side.
  virtual std::optional<ucred> peerOf(int socket);
};

/// A socket that has accepted us, or why there is none.
struct ReachedSocket {
  Descriptor socket;
  /// 0 with a socket. ENOENT: nothing has the name; ECONNREFUSED: a socket has it, on which nobody
  /// listens; EACCES: what has it is no socket of the user, or another user listens; otherwise as
  /// connect(2) has it.
  int error = 0;
  pid_t listener = 0;
};

/// Connects to a socket that the user owns and listens on himself; costs one connect(2), never
/// waits.
ReachedSocket reachOwnSocket(const std::string& path, SocketCalls& calls, uid_t user = ::getuid());
/// No descriptor where there is none, where nobody listens, and where somebody else does.
Descriptor connectToOwnSocket(const std::string& path, uid_t user = ::getuid());

}  // namespace wevora::platform
