#pragma once

#include <optional>
#include <string>
#include <unistd.h>

namespace wevora::platform {

/// The folder in which this user's services have their sockets.
std::string userRuntimeFolder();

/// The socket of a service; none for a name that is no file name, and for a path too long for a
/// socket.
std::optional<std::string> socketPath(const std::string& folder, const std::string& name);

/// A descriptor that closes itself.
/// Threads: one. Owns: the descriptor. Errors: none; -1 is no descriptor.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const noexcept { return number_; }
  explicit operator bool() const noexcept { return number_ >= 0; }
  int release() noexcept;

 private:
  int number_ = -1;
};

/// Connects to a socket that the user owns and listens on himself; costs one connect(2), never
/// waits. No descriptor where there is none, where nobody listens, and where somebody else does.
Descriptor connectToOwnSocket(const std::string& path, uid_t user = ::getuid());

}  // namespace wevora::platform
