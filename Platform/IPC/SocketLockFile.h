#pragma once

#include <string>

#include "Platform/Base/Descriptor.h"

namespace wevora::platform {

/// An exclusive lock on a service's name. It makes checking that the name is free and taking it
/// atomic between processes. The lock is flock(2) on a file next to the socket; the destructor
/// removes the file.
/// Errors: converts to false if another process holds the lock or the file cannot be opened.
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
