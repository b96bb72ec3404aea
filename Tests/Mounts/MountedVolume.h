#pragma once

#include <filesystem>
#include <string>
#include <sys/mount.h>

#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::testing_host {

inline bool ran(const std::string& command) {
  return std::system(command.c_str()) == 0;
}

/// A volume that really is mounted, inside the test's own mount namespace.
/// Threads: one. Owns: the mount and what it is made on. Errors: mount() answers whether it worked.
class MountedVolume {
 public:
  /// Of the kinds that an ordinary user may mount too, GVolumeMonitor lists ramfs alone.
  enum class Kind { tmpfs, ramfs, ext4 };

  MountedVolume(Kind kind, std::string mountPoint)
      : kind_(kind), mountPoint_(std::move(mountPoint)) {
    std::filesystem::create_directories(mountPoint_);
    if (kind_ == Kind::ext4)
      made_ = ran("truncate -s 16M '" + image() + "' && mkfs.ext4 -q '" + image() + "'");
    if (kind_ != Kind::ext4) made_ = true;
  }
  ~MountedVolume() { ::umount2(mountPoint_.c_str(), MNT_DETACH); }
  MountedVolume(const MountedVolume&) = delete;
  MountedVolume& operator=(const MountedVolume&) = delete;

  bool mount() {
    if (!made_) return false;
    if (kind_ == Kind::ext4)
      return ran("mount -o loop '" + image() + "' '" + mountPoint_ + "' 2>/dev/null");
    if (kind_ == Kind::ramfs)
      return ::mount("ramfs", mountPoint_.c_str(), "ramfs", 0, nullptr) == 0;
    return ::mount("tmpfs", mountPoint_.c_str(), "tmpfs", 0, "size=16m") == 0;
  }
  /// What the kernel says to a plain unmount.
  bool unmount() { return ::umount(mountPoint_.c_str()) == 0; }

  const std::string& path() const { return mountPoint_; }
  std::string path(const std::string& below) const { return mountPoint_ + "/" + below; }

 private:
  std::string image() const { return folder_.path("image"); }

  platform::TemporaryFolder folder_;
  Kind kind_;
  std::string mountPoint_;
  bool made_ = false;
};

}  // namespace wevora::testing_host
