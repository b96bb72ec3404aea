#include "Apps/agent_sim/AgentDatabase.h"

#include <utility>

#include "Apps/agent_sim/FileTable.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Volumes/Volumes.h"

namespace wevora::agent_sim {
namespace {

using std::string;
using namespace file_table;

/// Quotes a name as an SQL identifier.
string quoted(const string& name) {
  return "\"" + name + "\"";
}

string schema() {
  const auto column = [](const char* name, const char* type) { return quoted(name) + " " + type; };
  return "CREATE TABLE IF NOT EXISTS " + kFile + "(" +
         column(kFileTableColumnFileID, "TEXT PRIMARY KEY NOT NULL,") +
         column(kFileTableColumnParentID, "TEXT,") + column(kFileTableColumnDeviceID, "TEXT,") +
         column(kFileTableColumnIsFolder, "INTEGER NOT NULL,") +
         column(kFileTableColumnNameShort, "TEXT,") +
         column(kFileTableColumnNameLong, "TEXT NOT NULL,") +
         column(kFileTableColumnSyncDate, "TEXT,") + column(kFileTableColumnScannedDate, "TEXT,") +
         column(kFileTableColumnRetryCount, "INTEGER NOT NULL DEFAULT 0,") +
         column(kFileTableColumnCourierDriveID, "TEXT,") + column(kFileTableColumnMD5, "TEXT,") +
         column(kFileTableColumnModifyDate, "TEXT,") +
         column(kFileTableColumnFileSize, "INTEGER,") + column(kFileTableColumnFCR, "TEXT);") +
         "CREATE INDEX IF NOT EXISTS file_by_parent_and_name ON " + kFile + "(" + kParent + "," +
         kName + ");CREATE TABLE IF NOT EXISTS " + kFSCRTableName + "(" +
         column(kFSCRTableColumnFSCRID, "TEXT PRIMARY KEY NOT NULL,") +
         column(kFSCRTableColumnFCR, "INTEGER NOT NULL DEFAULT 0,") +
         column(kFSCRTableColumnISSystem, "INTEGER NOT NULL DEFAULT 0,") +
         column(kFSCRTableColumnISFolder, "TEXT NOT NULL,") +
         column(kFSCRTableColumnPathFilter, "TEXT,") +
         column(kFSCRTableColumnContentType, "TEXT,") +
         column(kFSCRTableColumnMinSize, "INTEGER NOT NULL DEFAULT 0,") +
         column(kFSCRTableColumnMaxSize, "INTEGER NOT NULL DEFAULT 0,") +
         column(kFSCRTableColumnHidden, "INTEGER NOT NULL DEFAULT 0,") +
         column(kFSCRTableColumnSystem, "INTEGER NOT NULL DEFAULT 0,") +
         column(kFSCRTableColumnOrder, "INTEGER NOT NULL DEFAULT 0,") +
         column(kFSCRTableColumnExclude, "INTEGER NOT NULL,") +
         column(kFSCRTableColumnFC, "TEXT);") + "CREATE TABLE IF NOT EXISTS " +
         kCurrentTransactionsTableName + "(" + kID + " TEXT PRIMARY KEY NOT NULL, started TEXT);";
}

/// The path relative to the mount point.
string relative(const string& mountPoint, const string& path) {
  const auto standardized = platform::standardizedPath(path);
  if (!WVRFileTools::filePathBelongsToDirectoryAtPath(standardized, mountPoint))
    throw Failure("'" + path + "' is not on the volume '" + mountPoint + "'");
  const std::size_t cut = mountPoint == "/" ? 1 : mountPoint.size() + 1;
  return standardized.size() > cut ? standardized.substr(cut) : string();
}

}  // namespace

std::string databasePath(const std::string& mountPoint, const std::string& account) {
  const auto kind = platform::SystemVolumes().fileSystemTypeOf(mountPoint);
  return *WVDBPool::databasePathForDeviceWithMountPoint(
      mountPoint, WVDBPool::isMacSpecificFileSystem(kind), account);
}

std::string folderOfRule(const std::string& mountPoint, const std::string& folder) {
  const auto path = platform::standardizedPath(
      folder.starts_with("/") ? folder : platform::pathByAppendingComponent(mountPoint, folder));
  if (!platform::isDirectory(platform::statOfTarget(path)))
    throw Failure("'" + path + "' is not a folder");
  return relative(mountPoint, path);
}

AgentDatabase::AgentDatabase(const std::string& path, std::string mountPoint,
                             const platform::Clock& clock, Mode mode)
    : mountPoint_(std::move(mountPoint)),
      clock_(clock),
      writer_(path, mode == Mode::mustExist ? DatabaseWriter::Mode::mustExist
                                            : DatabaseWriter::Mode::createIfMissing) {
  if (mode == Mode::createIfMissing) createTables();
}

void AgentDatabase::createTables() {
  DatabaseWriter::Transaction transaction(writer_);
  writer_.runScript(schema());
  writer_.run("INSERT OR IGNORE INTO " + kFile + "(" + kID + "," + kParent + "," +
                  kFileTableColumnIsFolder + "," + kFileTableColumnNameShort + "," + kName +
                  ") VALUES(?, NULL, 1, '/', '/')",
              {string(kNilFileID)});
  transaction.commit();
}

int AgentDatabase::addRules(const std::vector<std::string>& included,
                            const std::vector<std::string>& excluded) {
  DatabaseWriter::Transaction transaction(writer_);
  int added = 0;
  for (const auto& folder : included) added += addRule(folder, false);
  for (const auto& folder : excluded) added += addRule(folder, true);
  transaction.commit();
  return added;
}

int AgentDatabase::addRule(const std::string& folder, bool exclude) {
  const std::vector<DatabaseValue> values{folderOfRule(mountPoint_, folder), std::int64_t{exclude}};
  const string table = kFSCRTableName;
  if (!writer_
           .run("SELECT 1 FROM " + table + " WHERE " + kFSCRTableColumnISFolder + "=? AND " +
                    kFSCRTableColumnExclude + "=?",
                values)
           .empty())
    return 0;
  writer_.run("INSERT INTO " + table + "(" + kFSCRTableColumnISFolder + "," +
                  kFSCRTableColumnExclude + "," + kFSCRTableColumnFSCRID + "," +
                  quoted(kFSCRTableColumnOrder) + "," + kFSCRTableColumnPathFilter + "," +
                  kFSCRTableColumnContentType + "," + kFSCRTableColumnFC +
                  ") VALUES(?, ?, ?, (SELECT count(*) FROM " + table + "), '', '', '')",
              {values[0], values[1], WVRFileTools::getUUID()});
  return 1;
}

AgentDatabase::ScanResult AgentDatabase::scan(const std::function<void(const std::string&)>& warn) {
  struct Folder {
    string path;
    string id;
  };
  using Fate = ScannedItem::Fate;
  DatabaseWriter::Transaction transaction(writer_);
  RowScan rows(writer_, mountPoint_, clock_.now(), RowScan::Touch::everyRow, warn);
  ScanResult result;
  std::vector<Folder> folders{{mountPoint_, kNilFileID}};
  while (!folders.empty()) {
    const auto folder = std::move(folders.back());
    folders.pop_back();
    for (auto& item : rows.folder(folder.path, folder.id).value_or(std::vector<ScannedItem>())) {
      if (item.fate == Fate::removed) {
        result.gone += item.rows;
        continue;
      }
      ++result.items;
      result.added += item.fate == Fate::added ? 1 : 0;
      result.changed += item.fate == Fate::changed ? 1 : 0;
      // A file system that is mounted below this one has its own database.
      if (item.isFolder && item.isOfVolume)
        folders.push_back({platform::pathByAppendingComponent(folder.path, item.name), item.id});
    }
  }
  recordScan();
  transaction.commit();
  return result;
}

void AgentDatabase::recordScan() {
  writer_.run("UPDATE " + kFile + " SET " + kFileTableColumnScannedDate + "=? WHERE " + kParent +
                  " IS NULL",
              {dateValue(clock_.now())});
}

std::optional<std::string> AgentDatabase::knownIdentifierOf(const std::string& path) {
  string id = kNilFileID;
  const string below = relative(mountPoint_, path);
  platform::PathComponents walk(below);
  while (const auto name = walk.next()) {
    const auto rows = writer_.run(
        "SELECT " + kID + " FROM " + kFile + " WHERE " + kParent + "=? AND " + kName + "=?",
        {id, string(*name)});
    if (rows.empty()) return std::nullopt;
    id = textOf(rows.front().front());
  }
  return id;
}

std::string AgentDatabase::identifierOf(const std::string& path) {
  auto id = knownIdentifierOf(path);
  if (!id)
    throw Failure("'" + path + "' is not in the database (run 'wevora-agent-sim scan' first)");
  return std::move(*id);
}

std::int64_t AgentDatabase::markBelow(const std::string& identifier, const DatabaseValue& date) {
  writer_.run("WITH RECURSIVE marked(id) AS (SELECT ?1 UNION SELECT " + kFile + "." + kID +
                  " FROM " + kFile + " JOIN marked ON " + kFile + "." + kParent +
                  "=marked.id) UPDATE " + kFile + " SET " + kSynchronized + "=?2 WHERE " + kID +
                  " IN (SELECT id FROM marked)",
              {identifier, date});
  return writer_.changes();
}

AgentDatabase::OpenMarks AgentDatabase::openMarks(const std::vector<std::string>& paths,
                                                  bool synchronized) {
  OpenMarks marks{.transaction = std::make_unique<DatabaseWriter::Transaction>(writer_)};
  const DatabaseValue date = synchronized ? dateValue(clock_.now()) : DatabaseValue(nullptr);
  for (const auto& path : paths) marks.items += markBelow(identifierOf(path), date);
  return marks;
}

std::int64_t AgentDatabase::mark(const std::vector<std::string>& paths, bool synchronized) {
  const auto marks = openMarks(paths, synchronized);
  marks.transaction->commit();
  return marks.items;
}

AgentDatabase::Updates::Updates(AgentDatabase& database, RowScan::Warn warn)
    : database_(database),
      transaction_(std::make_unique<DatabaseWriter::Transaction>(database.writer_)),
      rows_(database.writer_, database.mountPoint_, database.clock_.now(),
            RowScan::Touch::changedRows, std::move(warn), [this] { step(); }) {}

void AgentDatabase::Updates::step() {
  // Commit in small transactions: each blocks the readers while it is written.
  if (++steps_ % kItemsInTransaction != 0) return;
  commit();
  transaction_ = std::make_unique<DatabaseWriter::Transaction>(database_.writer_);
}

std::optional<std::vector<ScannedItem>> AgentDatabase::Updates::scanFolder(
    const std::string& path, const RowScan::Names* names) {
  const auto id = database_.knownIdentifierOf(path);
  return id ? rows_.folder(path, *id, names) : std::nullopt;
}

bool AgentDatabase::Updates::synchronize(const std::string& path) {
  const auto id = database_.knownIdentifierOf(path);
  const auto found = platform::statOf(path);
  if (!id || !found) return false;
  database_.writer_.run("UPDATE " + kFile + " SET " + kSynchronized + "=? WHERE " + kID +
                            "=? AND " + kFileTableColumnFileSize + "=? AND " +
                            kFileTableColumnModifyDate + "=?",
                        {dateValue(database_.clock_.now()), *id, std::int64_t{found->st_size},
                         modifyDateText(*found)});
  return database_.writer_.changes() > 0;
}

void AgentDatabase::Updates::commit() {
  if (transaction_) transaction_->commit();
  transaction_.reset();
}

}  // namespace wevora::agent_sim
