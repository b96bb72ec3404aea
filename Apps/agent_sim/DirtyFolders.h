#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Apps/agent_sim/RowScan.h"

namespace wevora::agent_sim {

/// A folder whose rows may be out of date.
struct DirtyFolder {
  std::string path;
  bool deep = false;                      ///< rescan the folders below it too
  std::optional<RowScan::Names> names{};  ///< items to rescan; nullopt: all

  friend bool operator==(const DirtyFolder&, const DirtyFolder&) = default;
};

/// A FIFO queue of folders to scan, each queued once.
class DirtyFolders {
 public:
  void addItem(const std::string& folder, const std::string& name);
  void addDeep(const std::string& folder);
  /// Puts taken folders back at the front, merged with what was queued meanwhile.
  void putBack(std::vector<DirtyFolder> folders);
  std::vector<DirtyFolder> take(std::size_t count);
  void clear();
  bool empty() const { return folders_.empty(); }

 private:
  static constexpr std::size_t kMaximalNames = 256;

  std::map<std::string, DirtyFolder> folders_;
  std::deque<std::string> order_;
};

}  // namespace wevora::agent_sim
