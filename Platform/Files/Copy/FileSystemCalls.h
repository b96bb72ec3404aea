#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>

namespace wevora::platform {

/// The system calls of a copy, as a seam for fault injection: this class makes the real calls, and
/// a test overrides some of them. Return values and errno are those of the system call.
/// Thread-safety: safe from any thread.
class FileSystemCalls {
 public:
  virtual ~FileSystemCalls() = default;

  /// Opens without following a link and without blocking on a pipe.
  virtual int openToRead(int folder, const std::string& name);
  /// Creates a file with mode 0600; EEXIST when the name is taken.
  virtual int openNew(int folder, const std::string& name);
  /// close(2): on a network volume the only report of a lost write. Closes the descriptor even on
  /// failure.
  virtual int close(int file);
  /// ioctl FICLONE: a reflink, on volumes that support it.
  virtual int clone(int to, int from);
  /// copy_file_range(2) at the same offset of both files.
  virtual ssize_t copyRange(int from, int to, off_t offset, std::size_t bytes);
  virtual ssize_t read(int file, std::byte* bytes, std::size_t count, off_t offset);
  virtual ssize_t write(int file, const std::byte* bytes, std::size_t count, off_t offset);
  virtual int resize(int file, off_t size);
  /// fsync(2).
  virtual int flush(int file);
  /// syncfs(2) of the volume that contains the file.
  virtual int flushVolume(int file);
  /// renameat2(2) with RENAME_NOREPLACE: EEXIST when the name is taken, EINVAL where the volume
  /// does not support the flag.
  virtual int renameNoReplace(int folder, const std::string& from, const std::string& to);
  /// linkat(2): EEXIST when the name is taken.
  virtual int link(int folder, const std::string& from, const std::string& to);
  /// renameat(2): replaces an existing item.
  virtual int rename(int folder, const std::string& from, const std::string& to);
};

}  // namespace wevora::platform
