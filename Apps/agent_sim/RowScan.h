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

/// What became of an item's row.
struct ScannedItem {
  enum class Fate { same, added, changed, removed };
  std::string name;
  std::string id;
  Fate fate = Fate::same;
  bool isFolder = false;
  bool isOfVolume = true;  ///< not of another file system that is mounted there
  bool waits = false;      ///< a file that is not backed up
  platform::Date date{};   ///< of its last change on disk
  std::int64_t rows = 1;   ///< that went with it, where it was removed
};

/// Brings the rows of folders in step with the disk, each for itself.
/// Threads: one. Owns: nothing; writer and mount point outlive it.
/// Errors: throws DatabaseFailure; Failure where the mount point is no folder. What cannot be read
///   is reported, and its rows stay.
class RowScan {
 public:
  enum class Touch { everyRow, changedRows };
  using Names = std::set<std::string>;
  using Warn = std::function<void(const std::string&)>;
  /// Called after each item.
  using Step = std::function<void()>;

  RowScan(
      agent_sim::DatabaseWriter& writer, const std::string& mountPoint, platform::Date now,
      Touch touch, Warn warn, Step step = [] {});

  /// The items right in a folder, all of them or those of some names. None where the folder is not
  /// there, or is of another volume.
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

  agent_sim::DatabaseWriter& writer_;
  const std::string& top_;
  agent_sim::DatabaseValue now_;
  Touch touch_;
  Warn warn_;
  Step step_;
  dev_t device_ = 0;
};

}  // namespace wevora::agent_sim
