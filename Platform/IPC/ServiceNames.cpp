#include "Platform/IPC/ServiceNames.h"

#include <cerrno>
#include <sys/stat.h>
#include <utility>

#include <glib.h>

namespace wevora::platform {
namespace {

/// 0 if the path is a socket that the user owns; otherwise an errno value.
int errorOf(const std::string& path, uid_t user) {
  struct stat facts {};
  if (::lstat(path.c_str(), &facts) != 0) return errno;
  return S_ISSOCK(facts.st_mode) && facts.st_uid == user ? 0 : EACCES;
}

}  // namespace

std::string userRuntimeFolder() {
  return g_get_user_runtime_dir();
}

std::optional<std::string> socketPath(const std::string& folder, const std::string& name) {
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos ||
      name.find('\0') != std::string::npos)
    return std::nullopt;
  std::string path = folder + "/" + name;
  return UnixAddress::of(path) ? std::optional(std::move(path)) : std::nullopt;
}

int SocketCalls::connect(int socket, const UnixAddress& address) {
  return ::connect(socket, address.get(), UnixAddress::size()) == 0 ? 0 : errno;
}

std::optional<ucred> SocketCalls::peerOf(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer;
}

ReachedSocket reachOwnSocket(const std::string& path, SocketCalls& calls, uid_t user) {
  if (const int error = errorOf(path, user)) return {{}, error, 0};
  const auto address = UnixAddress::of(path);
  if (!address) return {{}, ENAMETOOLONG, 0};
  // Non-blocking: connect(2) fails with EAGAIN if the listener's backlog is full.
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) return {{}, errno, 0};
  if (const int error = calls.connect(socket.get(), *address)) return {{}, error, 0};
  const auto peer = calls.peerOf(socket.get());
  if (!peer || peer->uid != user) return {{}, EACCES, 0};
  return {std::move(socket), 0, peer->pid};
}

Descriptor connectToOwnSocket(const std::string& path, uid_t user) {
  SocketCalls calls;
  return reachOwnSocket(path, calls, user).socket;
}

}  // namespace wevora::platform
