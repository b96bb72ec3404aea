#pragma once

#include <filesystem>
#include <string>
#include <sys/mount.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::testing_host {

inline bool runShell(const std::string& command) {
  return std::system(command.c_str()) == 0;
}

/// A file system mounted in the test's mount namespace. Unmounted by the destructor.
/// Errors: mount() returns false.
class MountedVolume {
 public:
  /// An unprivileged user may mount tmpfs and ramfs; of these, GVolumeMonitor lists only ramfs.
  enum class Kind { tmpfs, ramfs, ext4 };

  MountedVolume(Kind kind, std::string mountPoint)
      : kind_(kind), mountPoint_(std::move(mountPoint)) {
    std::filesystem::create_directories(mountPoint_);
    if (kind_ == Kind::ext4)
      created_ = runShell("truncate -s 16M '" + image() + "' && mkfs.ext4 -q '" + image() + "'");
    if (kind_ != Kind::ext4) created_ = true;
  }
  ~MountedVolume() { ::umount2(mountPoint_.c_str(), MNT_DETACH); }
  MountedVolume(const MountedVolume&) = delete;
  MountedVolume& operator=(const MountedVolume&) = delete;

  bool mount() {
    if (!created_) return false;
    if (kind_ == Kind::ext4)
      return runShell("mount -o loop '" + image() + "' '" + mountPoint_ + "' 2>/dev/null");
    if (kind_ == Kind::ramfs)
      return ::mount("ramfs", mountPoint_.c_str(), "ramfs", 0, nullptr) == 0;
    return ::mount("tmpfs", mountPoint_.c_str(), "tmpfs", 0, "size=16m") == 0;
  }
  /// A plain unmount, which fails while the file system is busy.
  bool unmount() { return ::umount(mountPoint_.c_str()) == 0; }

  const std::string& path() const { return mountPoint_; }
  std::string path(const std::string& below) const { return mountPoint_ + "/" + below; }

 private:
  std::string image() const { return folder_.path("image"); }

  platform::TemporaryFolder folder_;
  Kind kind_;
  std::string mountPoint_;
  bool created_ = false;
};

}  // namespace wevora::testing_host
