#pragma once

#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace wevora::platform {

/// The address of a Unix socket in the file system.
class UnixAddress {
 public:
  /// nullopt if the path is too long for a socket address or contains a NUL byte.
  static std::optional<UnixAddress> of(const std::string& path) {
    UnixAddress made;
    if (path.size() >= sizeof made.address_.sun_path || path.find('\0') != std::string::npos)
      return std::nullopt;
    path.copy(static_cast<char*>(made.address_.sun_path), path.size());
    return made;
  }

  const sockaddr* get() const noexcept { return reinterpret_cast<const sockaddr*>(&address_); }
  static constexpr socklen_t size() noexcept { return sizeof(sockaddr_un); }

 private:
  UnixAddress() { address_.sun_family = AF_UNIX; }
  sockaddr_un address_{};
};

}  // namespace wevora::platform
