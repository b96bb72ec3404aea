#include "Platform/Files/Copy/FileSystemCalls.h"

#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace wevora::platform {

int FileSystemCalls::openToRead(int folder, const std::string& name) {
  return ::openat(folder, name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
}

int FileSystemCalls::openNew(int folder, const std::string& name) {
  return ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
}

int FileSystemCalls::close(int file) {
  return ::close(file);
}

int FileSystemCalls::clone(int to, int from) {
  return ::ioctl(to, FICLONE, from);
}

ssize_t FileSystemCalls::copyRange(int from, int to, off_t offset, std::size_t bytes) {
  off_t fromOffset = offset;
  off_t toOffset = offset;
  return ::copy_file_range(from, &fromOffset, to, &toOffset, bytes, 0);
}

ssize_t FileSystemCalls::read(int file, std::byte* bytes, std::size_t count, off_t offset) {
  return ::pread(file, bytes, count, offset);
}

ssize_t FileSystemCalls::write(int file, const std::byte* bytes, std::size_t count, off_t offset) {
  return ::pwrite(file, bytes, count, offset);
}

int FileSystemCalls::resize(int file, off_t size) {
  return ::ftruncate(file, size);
}

int FileSystemCalls::flush(int file) {
  return ::fsync(file);
}

int FileSystemCalls::flushVolume(int file) {
  return ::syncfs(file);
}

int FileSystemCalls::renameNoReplace(int folder, const std::string& from, const std::string& to) {
  return ::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE);
}

int FileSystemCalls::link(int folder, const std::string& from, const std::string& to) {
  return ::linkat(folder, from.c_str(), folder, to.c_str(), 0);
}

int FileSystemCalls::rename(int folder, const std::string& from, const std::string& to) {
  return ::renameat(folder, from.c_str(), folder, to.c_str());
}

}  // namespace wevora::platform
