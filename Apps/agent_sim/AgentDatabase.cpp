#include "Apps/agent_sim/AgentDatabase.h"

#include <cerrno>
#include <filesystem>
#include <map>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"
#include "Platform/Files/Files.h"
#include "Platform/Strings/Strings.h"
#include "Platform/Volumes/Volumes.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/SyncDatabaseSchema.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora::agent_sim {
namespace {

using platform::DatabaseValue;
using platform::DatabaseWriter;
using std::string;

const string kFile = kFileTableName;
const string kID = kFileTableColumnFileID;
const string kParent = kFileTableColumnParentID;
const string kName = kFileTableColumnNameLong;
const string kSynchronized = kFileTableColumnSyncDate;

/// A name as SQL wants it, whatever the name is.
string quoted(const string& name) {
  return "\"" + name + "\"";
}

string textOf(const DatabaseValue& value) {
  const auto* text = std::get_if<string>(&value);
  return text == nullptr ? string() : *text;
}

DatabaseValue dateValue(const platform::Date& date) {
  auto text = dbFormat(date);
  return text ? DatabaseValue(std::move(*text)) : DatabaseValue(nullptr);
}

bool isOwnFile(const string& name) {
  return name == ".wevora" ||
         (name.starts_with("Wevora-Account-") && name.find(".db") != string::npos);
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

/// A path's place below the mount point, without a leading separator.
string relative(const string& mountPoint, const string& path) {
  const auto standardized = platform::standardizedPath(path);
  if (!WVRFileTools::filePathBelongsToDirectoryAtPath(standardized, mountPoint))
    throw Failure(path + " is not on the volume " + mountPoint);
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
  if (!platform::fileExistsAtPath(path).isDirectory) throw Failure(path + " is no folder");
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

/// What the database says of an item.
struct AgentDatabase::Known {
  string id;
  bool isFolder = false;
  std::int64_t size = 0;
  string modified;
};

/// What the disk says of it.
struct AgentDatabase::Found {
  bool isFolder = false;
  dev_t device = 0;
  std::int64_t size = 0;
  string modified;

  static std::optional<Found> at(const string& path, std::error_code& failed) {
    struct stat facts {};
    failed.clear();
    if (::lstat(path.c_str(), &facts) != 0) {
      failed.assign(errno, std::generic_category());
      return std::nullopt;
    }
    const platform::Date date{static_cast<double>(facts.st_mtim.tv_sec) +
                              static_cast<double>(facts.st_mtim.tv_nsec) / 1e9};
    return Found{S_ISDIR(facts.st_mode), facts.st_dev, facts.st_size, dbFormat(date).value_or("")};
  }
};

/// One pass over the volume, folder by folder.
class AgentDatabase::Scan {
 public:
  Scan(AgentDatabase& database, const std::function<void(const string&)>& warn)
      : writer_(database.writer_),
        warn_(warn),
        top_(database.mountPoint_),
        now_(dateValue(database.clock_.now())) {}

  ScanResult run() {
    std::error_code failed;
    const auto top = Found::at(top_, failed);
    if (!top || !top->isFolder) throw Failure(top_ + " is no folder");
    device_ = top->device;
    folders_.push_back({top_, kNilFileID});
    while (!folders_.empty()) {
      const auto folder = std::move(folders_.back());
      folders_.pop_back();
      scanFolder(folder);
    }
    writer_.run("UPDATE " + kFile + " SET " + kFileTableColumnScannedDate + "=? WHERE " + kParent +
                    " IS NULL",
                {now_});
    return result_;
  }

 private:
  struct Folder {
    string path;
    string id;
  };

  void scanFolder(const Folder& folder) {
    auto known = rowsBelow(folder.id);
    std::error_code failed;
    std::filesystem::directory_iterator entry(folder.path, failed);
    for (; !failed && entry != std::filesystem::directory_iterator(); entry.increment(failed)) {
      const string name = entry->path().filename().string();
      if (folder.path == top_ && isOwnFile(name)) continue;
      std::error_code unseen;
      const auto found = Found::at(entry->path().string(), unseen);
      if (!found) {
        if (unseen == std::errc::no_such_file_or_directory) continue;  // gone since it was listed
        // It is there, whatever it is: what is known of it stays.
        warnOf(entry->path().string(), unseen);
        known.erase(name);
        continue;
      }
      std::optional<Known> row;
      if (const auto place = known.find(name); place != known.end()) {
        row = std::move(place->second);
        known.erase(place);
      }
      scanItem(folder, name, *found, row);
    }
    if (failed) return warnOf(folder.path, failed);
    for (const auto& [name, row] : known) remove(row.id);
  }

  void warnOf(const string& path, const std::error_code& failed) const {
    warn_(path + " cannot be read: " + failed.message());
  }

  void scanItem(const Folder& folder, const string& name, const Found& found,
                std::optional<Known> row) {
    ++result_.items;
    if (row && row->isFolder != found.isFolder) {
      remove(row->id);
      row.reset();
    }
    const string id = row ? row->id : WVRFileTools::getUUID();
    if (!row)
      add(folder.id, name, found, id);
    else
      update(found, *row);
    // Another file system below this one has a database of its own.
    if (found.isFolder && found.device == device_)
      folders_.push_back({platform::pathByAppendingComponent(folder.path, name), id});
  }

  std::map<string, Known> rowsBelow(const string& parent) {
    std::map<string, Known> rows;
    for (auto& row :
         writer_.run("SELECT " + kName + "," + kID + "," + kFileTableColumnIsFolder + "," +
                         kFileTableColumnFileSize + "," + kFileTableColumnModifyDate + " FROM " +
                         kFile + " WHERE " + kParent + "=?",
                     {parent})) {
      const auto* isFolder = std::get_if<std::int64_t>(&row[2]);
      const auto* size = std::get_if<std::int64_t>(&row[3]);
      rows[textOf(row[0])] = {textOf(row[1]), isFolder != nullptr && *isFolder != 0,
                              size == nullptr ? -1 : *size, textOf(row[4])};
    }
    return rows;
  }

  void add(const string& parent, const string& name, const Found& found, const string& id) {
    ++result_.added;
    writer_.run(
        "INSERT INTO " + kFile + "(" + kID + "," + kParent + "," + kFileTableColumnIsFolder + "," +
            kFileTableColumnNameShort + "," + kName + "," + kFileTableColumnFileSize + "," +
            kFileTableColumnModifyDate + "," + kFileTableColumnScannedDate +
            ") VALUES(?, ?, ?, ?, ?, ?, ?, ?)",
        {id, parent, std::int64_t{found.isFolder}, name, name, found.size, found.modified, now_});
  }

  void update(const Found& found, const Known& row) {
    const bool changed =
        !found.isFolder && (found.size != row.size || found.modified != row.modified);
    if (changed) ++result_.changed;
    const string pending = changed ? "," + kSynchronized + "=NULL" : "";
    writer_.run("UPDATE " + kFile + " SET " + kFileTableColumnFileSize + "=?," +
                    kFileTableColumnModifyDate + "=?," + kFileTableColumnScannedDate + "=?" +
                    pending + " WHERE " + kID + "=?",
                {found.size, found.modified, now_, row.id});
  }

  void remove(const string& id) {
    writer_.run("WITH RECURSIVE gone(id) AS (SELECT ?1 UNION SELECT " + kFile + "." + kID +
                    " FROM " + kFile + " JOIN gone ON " + kFile + "." + kParent +
                    "=gone.id) DELETE FROM " + kFile + " WHERE " + kID +
                    " IN (SELECT id FROM gone)",
                {id});
    result_.gone += writer_.changes();
  }

  DatabaseWriter& writer_;
  const std::function<void(const string&)>& warn_;
  const string top_;
  const DatabaseValue now_;
  dev_t device_ = 0;
  std::vector<Folder> folders_;
  ScanResult result_;
};

AgentDatabase::ScanResult AgentDatabase::scan(const std::function<void(const std::string&)>& warn) {
  DatabaseWriter::Transaction transaction(writer_);
  const auto result = Scan(*this, warn).run();
  transaction.commit();
  return result;
}

std::string AgentDatabase::identifierOf(const std::string& path) {
  string id = kNilFileID;
  const string below = relative(mountPoint_, path);
  platform::PathComponents walk(below);
  while (const auto name = walk.next()) {
    const auto rows = writer_.run(
        "SELECT " + kID + " FROM " + kFile + " WHERE " + kParent + "=? AND " + kName + "=?",
        {id, string(*name)});
    if (rows.empty()) throw Failure(path + " is not in the database (scan the volume first)");
    id = textOf(rows.front().front());
  }
  return id;
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

}  // namespace wevora::agent_sim
