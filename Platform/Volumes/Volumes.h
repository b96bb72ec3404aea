#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wevora::platform {

/// One mounted volume.
struct Volume {
  std::string rootPath;        ///< with no trailing separator, or "/"
  std::string fileSystemType;  ///< the kernel's name: "ext4", "vfat", "hfsplus"

  friend bool operator==(const Volume&, const Volume&) = default;
};

/// The mounted volumes.
/// Thread-safety: any thread.
/// Errors: a mount table that cannot be read is treated as empty.
class Volumes {
 public:
  virtual ~Volumes() = default;
  /// In the order of the mount table: a volume mounted over another follows it.
  virtual std::vector<Volume> mountedVolumes() const = 0;
  /// The file system type of the volume mounted at `mountPoint`, the topmost if there are several;
  /// nullopt if there is no volume. A trailing separator is ignored.
  std::optional<std::string> fileSystemTypeOf(std::string_view mountPoint) const;
};

/// This machine's mount table, through GLib.
class SystemVolumes : public Volumes {
 public:
  std::vector<Volume> mountedVolumes() const override;
};

}  // namespace wevora::platform
