#include "Apps/agent_sim/RowScan.h"

#include <filesystem>
#include <utility>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/FileTable.h"
#include "Apps/agent_sim/OwnFiles.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Errno.h"
#include "Platform/Base/Strings.h"

namespace wevora::agent_sim {

using namespace file_table;
using std::string;

/// An item's row.
struct RowScan::Row {
  string id;
  bool isFolder = false;
  std::int64_t size = 0;
  string modified;
  bool synchronized = false;
};

RowScan::RowScan(DatabaseWriter& writer, const string& mountPoint, platform::Date now, Touch touch,
                 Warn warn, Step step)
    : writer_(writer),
      top_(mountPoint),
      now_(dateValue(now)),
      touch_(touch),
      warn_(std::move(warn)),
      step_(std::move(step)) {
  const auto top = platform::statOf(top_);
  if (!platform::isDirectory(top)) throw Failure("'" + top_ + "' is not a folder");
  device_ = top->st_dev;
}

std::optional<std::vector<ScannedItem>> RowScan::folder(const string& path, const string& id,
                                                        const Names* names) {
  const auto status = platform::statOf(path);
  if (!platform::isDirectory(status) || status->st_dev != device_) return std::nullopt;
  auto rows = rowsBelow(id, names);
  std::vector<ScannedItem> items;
  std::optional<Names> all;
  if (names == nullptr) {
    all = listed(path);
    if (!all) return items;
    names = &*all;
  }
  for (const auto& name : *names) {
    if (path == top_ && isOwnFile(name)) continue;
    const string itemPath = platform::pathByAppendingComponent(path, name);
    const auto found = platform::statOf(itemPath);
    const auto failed = found ? std::error_code() : platform::lastError();
    // Its row is removed below.
    if (!found && failed == std::errc::no_such_file_or_directory) continue;
    std::optional<Row> row;
    if (const auto place = rows.find(name); place != rows.end()) {
      row = std::move(place->second);
      rows.erase(place);
    }
    if (found)
      scanItem(id, name, *found, std::move(row), items);
    else
      warnOf(itemPath, failed);  // It exists: keep its row.
    step_();
  }
  for (const auto& [name, row] : rows) {
    remove(name, row, items);
    step_();
  }
  return items;
}

void RowScan::warnOf(const string& path, const std::error_code& failed) const {
  warn_("cannot read '" + path + "': " + failed.message());
}

std::optional<RowScan::Names> RowScan::listed(const string& path) {
  std::error_code failed;
  Names names;
  std::filesystem::directory_iterator entry(path, failed);
  for (; !failed && entry != std::filesystem::directory_iterator(); entry.increment(failed))
    names.insert(entry->path().filename().string());
  if (!failed) return names;
  warnOf(path, failed);
  return std::nullopt;
}

RowScan::Rows RowScan::rowsBelow(const string& parent, const Names* names) {
  const string query = "SELECT " + kName + "," + kID + "," + kFileTableColumnIsFolder + "," +
                       kFileTableColumnFileSize + "," + kFileTableColumnModifyDate + "," +
                       kSynchronized + " FROM " + kFile + " WHERE " + kParent + "=?";
  Rows rows;
  const auto take = [&](std::vector<DatabaseWriter::Row> found) {
    for (auto& row : found) {
      const auto* isFolder = std::get_if<std::int64_t>(&row[2]);
      const auto* size = std::get_if<std::int64_t>(&row[3]);
      rows[textOf(row[0])] = {textOf(row[1]), isFolder != nullptr && *isFolder != 0,
                              size == nullptr ? -1 : *size, textOf(row[4]),
                              !std::holds_alternative<std::nullptr_t>(row[5])};
    }
  };
  if (names == nullptr)
    take(writer_.run(query, {parent}));
  else
    for (const auto& name : *names)
      take(writer_.run(query + " AND " + kName + "=?", {parent, name}));
  return rows;
}

void RowScan::scanItem(const string& parent, const string& name, const platform::FileStat& found,
                       std::optional<Row> row, std::vector<ScannedItem>& items) {
  using Fate = ScannedItem::Fate;
  const bool isFolder = platform::isDirectory(found);
  if (row && row->isFolder != isFolder) {
    remove(name, *row, items);
    row.reset();
  }
  const string id = row ? row->id : WVRFileTools::getUUID();
  Fate fate = Fate::added;
  if (!row)
    add(parent, name, found, id);
  else
    fate = update(found, *row) ? Fate::changed : Fate::same;
  items.push_back({.name = name,
                   .id = id,
                   .fate = fate,
                   .isFolder = isFolder,
                   .isOfVolume = found.st_dev == device_,
                   .waits = !isFolder && (fate != Fate::same || !row->synchronized),
                   .date = platform::modificationDate(found)});
}

void RowScan::add(const string& parent, const string& name, const platform::FileStat& found,
                  const string& id) {
  writer_.run("INSERT INTO " + kFile + "(" + kID + "," + kParent + "," + kFileTableColumnIsFolder +
                  "," + kFileTableColumnNameShort + "," + kName + "," + kFileTableColumnFileSize +
                  "," + kFileTableColumnModifyDate + "," + kFileTableColumnScannedDate +
                  ") VALUES(?, ?, ?, ?, ?, ?, ?, ?)",
              {id, parent, std::int64_t{platform::isDirectory(found)}, name, name,
               std::int64_t{found.st_size}, modifyDateText(found), now_});
}

bool RowScan::update(const platform::FileStat& found, const Row& row) {
  const std::string modified = modifyDateText(found);
  const bool differs = found.st_size != row.size || modified != row.modified;
  const bool changed = !platform::isDirectory(found) && differs;
  if (!differs && touch_ == Touch::changedRows) return false;
  const string pending = changed ? "," + kSynchronized + "=NULL" : "";
  writer_.run("UPDATE " + kFile + " SET " + kFileTableColumnFileSize + "=?," +
                  kFileTableColumnModifyDate + "=?," + kFileTableColumnScannedDate + "=?" +
                  pending + " WHERE " + kID + "=?",
              {std::int64_t{found.st_size}, modified, now_, row.id});
  return changed;
}

void RowScan::remove(const string& name, const Row& row, std::vector<ScannedItem>& items) {
  writer_.run("WITH RECURSIVE gone(id) AS (SELECT ?1 UNION SELECT " + kFile + "." + kID + " FROM " +
                  kFile + " JOIN gone ON " + kFile + "." + kParent + "=gone.id) DELETE FROM " +
                  kFile + " WHERE " + kID + " IN (SELECT id FROM gone)",
              {row.id});
  items.push_back({.name = name,
                   .id = row.id,
                   .fate = ScannedItem::Fate::removed,
                   .isFolder = row.isFolder,
                   .rows = writer_.changes()});
}

}  // namespace wevora::agent_sim
