#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Apps/agent_sim/RowScan.h"

namespace wevora::agent_sim {

/// A folder whose rows may differ from the disk.
struct DirtyFolder {
  std::string path;
  bool deep = false;                      ///< and so may those of all folders below it
  std::optional<RowScan::Names> names{};  ///< the items in question; none are all

  friend bool operator==(const DirtyFolder&, const DirtyFolder&) = default;
};

/// The folders that wait to be scanned, each once, in the order in which they came: a folder that
/// holds another comes before it.
/// Threads: one. Owns: the paths. Errors: none.
class DirtyFolders {
 public:
  void addItem(const std::string& folder, const std::string& name);
  void addDeep(const std::string& folder);
  /// Puts back what was taken, to be taken first.
  void putBack(std::vector<DirtyFolder> folders);
  std::vector<DirtyFolder> take(std::size_t count);
  void clear();
  bool empty() const { return folders_.empty(); }

 private:
  static constexpr std::size_t kNamesWorthTelling = 256;

  std::map<std::string, DirtyFolder> folders_;
  std::deque<std::string> order_;
};

}  // namespace wevora::agent_sim
