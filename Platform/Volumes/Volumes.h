#pragma once

#include <functional>
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

/// The volumes of a text in the format of /proc/self/mountinfo; lines of another form are skipped.
std::vector<Volume> volumesFromMountInfo(std::string_view text);

/// A mount table that is a text, asked for anew each time.
class MountInfoVolumes : public Volumes {
 public:
  explicit MountInfoVolumes(std::function<std::string()> text) : text_(std::move(text)) {}
  std::vector<Volume> mountedVolumes() const override { return volumesFromMountInfo(text_()); }

 private:
  std::function<std::string()> text_;
};

}  // namespace wevora::platform
