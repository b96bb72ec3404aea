#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace wevora::status {

/// Lists folders, each one once: a volume that is mounted twice is walked once, and symbolic links
/// are not followed.
/// Errors: an unreadable folder has no items.
class FolderWalk {
 public:
  /// Returns the sorted names in the folder; nothing for a file, or a folder that was listed
  /// before.
  std::vector<std::string> list(const std::string& path);

 private:
  std::set<std::pair<unsigned long, unsigned long>> listed_;
};

}  // namespace wevora::status
