#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>

namespace wevora::platform {

/// The calls of the system that move the bytes of a copy. Each answers and sets errno as the call
/// of its name does. The class itself makes the real calls; a test derives from it and lets some
/// fail. Threads: any. Owns: nothing. Errors: errno.
class FileSystemCalls {
 public:
  virtual ~FileSystemCalls() = default;

  /// Opens without following a link and without waiting for a pipe.
  virtual int openToRead(int folder, const std::string& name);
  /// Makes a file that only its owner may read; fails when there is one.
  virtual int openNew(int folder, const std::string& name);
  /// Tells, on a network's volume, that bytes were lost. The descriptor is gone in any case.
  virtual int close(int file);
  /// Makes `to` share the bytes of `from`, where the volume can.
  virtual int clone(int to, int from);
  /// copy_file_range: from one place of a file to the same place of another.
  virtual ssize_t copyRange(int from, int to, off_t offset, std::size_t bytes);
  virtual ssize_t read(int file, std::byte* bytes, std::size_t count, off_t offset);
  virtual ssize_t write(int file, const std::byte* bytes, std::size_t count, off_t offset);
  virtual int resize(int file, off_t size);
  /// Waits until the file's bytes are on the volume.
  virtual int flush(int file);
  /// The same for all of the volume that holds the file.
  virtual int flushVolume(int file);
  /// Renames, but never over another item (EEXIST); EINVAL where the volume cannot promise that.
  virtual int renameToNew(int folder, const std::string& from, const std::string& to);
  /// A second name, never over another item.
  virtual int link(int folder, const std::string& from, const std::string& to);
  /// Renames, also over another item.
  virtual int rename(int folder, const std::string& from, const std::string& to);
};

}  // namespace wevora::platform
