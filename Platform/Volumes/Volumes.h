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
/// Threads: any. Owns: nothing. Errors: a mount table that cannot be read is an empty one.
class Volumes {
 public:
  virtual ~Volumes() = default;
  /// In the mount table's order: a volume mounted over another comes after it.
  virtual std::vector<Volume> mountedVolumes() const = 0;
  /// The type of the volume whose root is `mountPoint` (a trailing separator does not matter), the
  /// topmost where several are mounted there; none where no volume is.
  std::optional<std::string> fileSystemTypeOf(std::string_view mountPoint) const;
};

/// This machine's mount table, through GLib.
class SystemVolumes : public Volumes {
 public:
  std::vector<Volume> mountedVolumes() const override;
};

}  // namespace wevora::platform
