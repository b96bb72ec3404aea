#pragma once

#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/Base/Descriptor.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {

/// A position in a folder tree, reached one openat(2) per level. No path is resolved twice, so
/// replacing a folder by a link during the walk cannot redirect it (no TOCTOU race).
/// Ownership: keeps at most kOpenFolders descriptors open, independently of the depth.
class DirectoryCursor {
 public:
  static constexpr std::size_t kOpenFolders = 32;

  explicit DirectoryCursor(Descriptor top) { levels_.push_back({std::move(top), {}}); }

  int folder() const { return levels_.back().folder.get(); }
  /// The number of levels below the top.
  std::size_t depth() const { return levels_.size() - 1; }

  /// Descends into a folder; never follows a link.
  std::error_code enter(const std::string& name);
  /// Returns to the parent folder. ESTALE when a folder was moved meanwhile; the cursor is then
  /// unusable.
  std::error_code leave();

 private:
  struct Level {
    Descriptor folder;
    ItemIdentity identity;
  };
  std::vector<Level> levels_;
};

/// Opens the folder that contains a path's item, with O_PATH: read permission is not needed.
/// Invalid with errno set on failure.
Descriptor openParentFolder(std::string_view path);

}  // namespace wevora::platform
