#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace wevora::status {

/// Lists folders, each one once: a volume that is mounted twice is walked once, and symbolic links
/// are not followed.
/// Threads: one. Owns: the marks of the folders that it listed.
/// Errors: a folder that cannot be read has no items.
class FolderWalk {
 public:
  /// The names in the folder, sorted; none for anything but a folder that was not listed before.
  std::vector<std::string> list(const std::string& path);

 private:
  std::set<std::pair<unsigned long, unsigned long>> listed_;
};

}  // namespace wevora::status
