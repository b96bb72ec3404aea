#include "Platform/IPC/SocketLockFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace wevora::platform {
namespace {

constexpr int kAttempts = 16;

bool isAt(const std::string& path, int file) {
  struct stat named {};
  struct stat open {};
  return ::lstat(path.c_str(), &named) == 0 && ::fstat(file, &open) == 0 &&
         named.st_dev == open.st_dev && named.st_ino == open.st_ino;
}

}  // namespace

SocketLockFile::SocketLockFile(const std::string& socketPath) : path_(socketPath + ".lock") {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    Descriptor file(
        ::open(path_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return;
    // The last holder may have removed the file between the two calls.
    if (!isAt(path_, file.get())) continue;
    file_ = std::move(file);
    return;
  }
}

SocketLockFile::~SocketLockFile() {
  if (file_) ::unlink(path_.c_str());
}

}  // namespace wevora::platform
