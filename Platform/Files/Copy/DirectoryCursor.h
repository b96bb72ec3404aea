#pragma once

#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/Base/Descriptor.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {

/// A place in a tree of folders, reached from its top step by step: no name on the way is looked up
/// twice, so that a folder which somebody replaces by a link leads nowhere else.
/// Threads: one. Owns: at most kOpenFolders descriptors, whatever the depth. Errors: by results.
class DirectoryCursor {
 public:
  static constexpr std::size_t kOpenFolders = 32;

  explicit DirectoryCursor(Descriptor top) { levels_.push_back({std::move(top), {}}); }

  int folder() const { return levels_.back().folder.get(); }
  /// Folders that were entered and not left.
  std::size_t depth() const { return levels_.size() - 1; }

  /// Goes into a folder, never through a link.
  std::error_code enter(const std::string& name);
  /// Goes back up. The place is lost (ESTALE) when a folder was moved elsewhere meanwhile.
  std::error_code leave();

 private:
  struct Level {
    Descriptor folder;
    ItemIdentity identity;
  };
  std::vector<Level> levels_;
};

/// The folder in which a path's item is, open as a place only: it need not be one that may be read.
/// None with errno set.
Descriptor folderHolding(std::string_view path);

}  // namespace wevora::platform
