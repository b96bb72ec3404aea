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

/// The folder of this user's service sockets.
std::string userRuntimeFolder();

/// The path of a service's socket; nullopt if the name is not a valid file name or the path is too
/// long for a socket address.
std::optional<std::string> socketPath(const std::string& folder, const std::string& name);

/// The system calls on a peer's socket; tests override them to count calls or to inject results.
/// Thread-safety: any thread.
class SocketCalls {
 public:
  virtual ~SocketCalls() = default;
  /// Returns 0 or an errno value.
  virtual int connect(int socket, const UnixAddress& address);
  /// The credentials of the listening process.
  virtual std::optional<ucred> peerOf(int socket);
};

/// The result of connecting to a service: a connected socket or an error.
struct ReachedSocket {
  Descriptor socket;
  /// 0 on success. ENOENT: no such file. ECONNREFUSED: a stale socket, nobody listens. EACCES: the
  /// file is not a socket of the user, or another user listens. Otherwise as for connect(2).
  int error = 0;
  pid_t listener = 0;
};

/// Connects to a socket that the user owns and on which a process of the user listens. Costs at
/// most one connect(2) and never blocks.
ReachedSocket reachOwnSocket(const std::string& path, SocketCalls& calls, uid_t user = ::getuid());
/// Like reachOwnSocket; returns an empty descriptor on any error.
Descriptor connectToOwnSocket(const std::string& path, uid_t user = ::getuid());

}  // namespace wevora::platform
