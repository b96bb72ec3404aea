#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "Apps/agent_sim/DatabaseWriter.h"
#include "Platform/Base/Date.h"
#include "Platform/Files/FileStat.h"

namespace wevora::agent_sim {

/// What a scan did to an item's row.
struct ScannedItem {
  enum class Fate { same, added, changed, removed };
  std::string name;
  std::string id;
  Fate fate = Fate::same;
  bool isFolder = false;
  bool isOfVolume = true;  ///< false for a mount point of another file system
  bool waits = false;      ///< a file that is pending
  platform::Date date{};   ///< modification time on disk
  std::int64_t rows = 1;   ///< removed rows, for Fate::removed
};

/// Synchronizes the rows of single folders with the disk.
/// Ownership: the writer and the mount point must outlive it.
/// Errors: throws DatabaseFailure, and Failure when the mount point is not a folder. Unreadable
/// items are reported and keep their rows.
class RowScan {
 public:
  enum class Touch { everyRow, changedRows };
  using Names = std::set<std::string>;
  using Warn = std::function<void(const std::string&)>;
  /// Called after each item.
  using Step = std::function<void()>;

  RowScan(
      DatabaseWriter& writer, const std::string& mountPoint, platform::Date now, Touch touch,
      Warn warn, Step step = [] {});

  /// Scans a folder's direct items, or only those with the given names. Returns nullopt when the
  /// folder is missing or on another volume.
  std::optional<std::vector<ScannedItem>> folder(const std::string& path, const std::string& id,
                                                 const Names* names = nullptr);

 private:
  struct Row;
  using Rows = std::map<std::string, Row>;

  Rows rowsBelow(const std::string& parent, const Names* names);
  std::optional<Names> listed(const std::string& path);
  void scanItem(const std::string& parent, const std::string& name, const platform::FileStat& found,
                std::optional<Row> row, std::vector<ScannedItem>& items);
  void add(const std::string& parent, const std::string& name, const platform::FileStat& found,
           const std::string& id);
  bool update(const platform::FileStat& found, const Row& row);
  void remove(const std::string& name, const Row& row, std::vector<ScannedItem>& items);
  void warnOf(const std::string& path, const std::error_code& failed) const;

  DatabaseWriter& writer_;
  const std::string& top_;
  DatabaseValue now_;
  Touch touch_;
  Warn warn_;
  Step step_;
  dev_t device_ = 0;
};

}  // namespace wevora::agent_sim
