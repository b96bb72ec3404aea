#pragma once

#include <string>

#include "Platform/Support/Descriptor.h"

namespace wevora::platform {

/// Keeps other processes from taking a service's name while it is looked whether the name is free,
/// and taken. The lock is a file beside the socket, gone with the lock.
/// Threads: one. Owns: the lock, until destroyed. Errors: not held where another has it.
class NameLock {
 public:
  explicit NameLock(const std::string& socketPath);
  ~NameLock();
  NameLock(const NameLock&) = delete;
  NameLock& operator=(const NameLock&) = delete;

  explicit operator bool() const noexcept { return static_cast<bool>(file_); }

 private:
  std::string path_;
  Descriptor file_;
};

}  // namespace wevora::platform
