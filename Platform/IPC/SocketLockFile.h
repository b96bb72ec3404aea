#pragma once

#include <string>

#include "Platform/Base/Descriptor.h"

namespace wevora::platform {

/// Keeps other processes from taking a service's name while it is looked whether the name is free,
/// and taken. The lock is a file beside the socket, gone with the lock.
/// Threads: one. Owns: the lock, until destroyed. Errors: not held where another has it.
class SocketLockFile {
 public:
  explicit SocketLockFile(const std::string& socketPath);
  ~SocketLockFile();
  SocketLockFile(const SocketLockFile&) = delete;
  SocketLockFile& operator=(const SocketLockFile&) = delete;

  explicit operator bool() const noexcept { return static_cast<bool>(file_); }

 private:
  std::string path_;
  Descriptor file_;
};

}  // namespace wevora::platform
