#include "FinderIntegration/finder_bundle/DB/WVDBAccessor.h"

#include <array>
#include <chrono>

#include "FinderIntegration/finder_bundle/DB/ColumnPosition.h"
#include "Platform/Base/AssertionFailure.h"
#include "Platform/Base/Guard.h"
#include "Platform/Base/Strings.h"
#include "WevoraAgent/WevoraAgent/Classes/Categories/NSString+MountPoints.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/SyncDatabaseSchema.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora {
namespace {

using platform::DatabaseError;
using platform::MutexLock;
using platform::ResultSet;

constexpr std::chrono::nanoseconds kRefreshInterval{2'000'000'000};

std::string selectFrom(std::string_view table) {
  return "SELECT * FROM " + std::string(table);
}

const std::string& walkQuery() {
  static const std::string query = selectFrom(kFileTableName) + " WHERE " +
                                   kFileTableColumnParentID + "=? AND " + kFileTableColumnNameLong +
                                   "=?";
  return query;
}

const std::string& topRowQuery() {
  static const std::string query =
      selectFrom(kFileTableName) + " WHERE " + kFileTableColumnParentID + " is NULL";
  return query;
}

std::string childrenQuery(std::string_view parentID) {
  return selectFrom(kFileTableName) + " WHERE " + kFileTableColumnParentID + "='" +
         std::string(parentID) + "' ";
}

struct Columns {
  int fileID = 0;
  int parentID = 0;
  int isFolder = 0;
  int nameShort = 0;
  int synchronized = 0;

  bool find(const ResultSet& rows, std::optional<DatabaseError>& error) {
    return findColumn(rows, kFileTableColumnFileID, fileID, &error) &&
           findColumn(rows, kFileTableColumnParentID, parentID, &error) &&
           findColumn(rows, kFileTableColumnIsFolder, isFolder, &error) &&
           findColumn(rows, kFileTableColumnNameShort, nameShort, &error) &&
           findColumn(rows, kFileTableColumnSyncDate, synchronized, &error);
  }
};

WVDBAccessor::Row rowOf(ResultSet& rows, const Columns& columns) {
  return {.fileID = rows.text(columns.fileID),
          .parentID = rows.text(columns.parentID),
          .isFolder = rows.boolean(columns.isFolder),
          .nameShort = rows.text(columns.nameShort).value_or(std::string_view()),
          .synchronized = dateWithDBFormat(rows.valueIfText(columns.synchronized))};
}

WVRDrivenFile recordOf(const WVDBAccessor::Row& row) {
  WVRDrivenFile file;
  if (row.fileID) file.setFile_id(std::string(*row.fileID));
  if (row.parentID) file.setParent_id(std::string(*row.parentID));
  file.setIs_folder(row.isFolder);
  file.setName_short(std::string(row.nameShort));
  file.setSynchronized(row.synchronized);
  return file;
}

/// The "file_id" of the only row; nullopt without a row.
std::optional<std::string> onlyFileID(ResultSet& rows, std::optional<DatabaseError>& error) {
  if (rows.next(&error) != ResultSet::Step::row) return std::nullopt;
  int column = 0;
  if (!findColumn(rows, kFileTableColumnFileID, column, &error)) return std::nullopt;
  std::string id(rows.text(column).value_or(std::string_view()));
  if (rows.next(&error) == ResultSet::Step::row)
    throw platform::AssertionFailure(
        "There is more than one items in file table with the same parend_id and name_long. It is "
        "really an error.",
        "WVDBAccessor", 198);
  return id;
}

}  // namespace

std::shared_ptr<WVDBAccessor> WVDBAccessor::initWithPath(const std::string& path,
                                                         const WVDBAccessorServices& services) {
  auto accessor = std::make_shared<WVDBAccessor>(Private(), path, services);
  accessor->scheduleFirst();
  return accessor;
}

std::shared_ptr<WVDBAccessor> WVDBAccessor::initWithPath(
    const std::string& path, const WVDBAccessorServices& services,
    std::weak_ptr<IWVDBAccessorDelegate> delegate, const std::string& mountPoint) {
  auto accessor = std::make_shared<WVDBAccessor>(Private(), path, services);
  accessor->setDelegate(std::move(delegate));
  accessor->setMountPoint(mountPoint);
  accessor->scheduleFirst();
  return accessor;
}

WVDBAccessor::WVDBAccessor(Private, const std::string& path, const WVDBAccessorServices& services)
    : dbPath_(path),
      databaseHandler_(services.databases.databaseWithPath(path)),
      update_queue_(services.dispatch.serialQueue("update_queue")) {
  // A failure to open appears later, as query errors.
  databaseHandler_->open(nullptr);
}

WVDBAccessor::~WVDBAccessor() {
  platform::catchAll([this] { databaseHandler_->close(); });
}

std::shared_ptr<IWVDBAccessorDelegate> WVDBAccessor::delegate() const {
  const MutexLock lock(wiring_);
  return delegate_.lock();
}

void WVDBAccessor::setDelegate(std::weak_ptr<IWVDBAccessorDelegate> delegate) {
  const MutexLock lock(wiring_);
  delegate_ = std::move(delegate);
}

std::optional<WVRDrivenFile> WVDBAccessor::fileWithPath(const std::string& path) {
  const std::string volume = mountPoint();
  const std::string relative = path == volume ? "/" : stringByCuttingMountPoint(path, volume);
  std::optional<DatabaseError> error;
  auto record = relative == "/" ? topRow(error) : walk(relative, error);
  if (error) raiseError(error);
  if (record) record->setFilePath(relative);
  return record;
}

std::optional<WVRDrivenFile> WVDBAccessor::topRow(std::optional<DatabaseError>& error) {
  const auto statement = databaseHandler_->prepare(topRowQuery(), &error);
  if (!statement) return std::nullopt;
  const auto rows = statement->executeQuery({}, &error);
  return rows ? firstRecord(*rows) : std::nullopt;
}

std::optional<WVRDrivenFile> WVDBAccessor::walk(const std::string& relativePath,
                                                std::optional<DatabaseError>& error) {
  const auto statement = databaseHandler_->prepare(walkQuery(), &error);
  if (!statement) return std::nullopt;
  std::string parent = kNilFileID;
  platform::PathComponents components(relativePath);
  auto component = components.next();
  while (component) {
    const auto following = components.next();
    const std::array<std::string_view, 2> parameters{parent, *component};
    const auto rows = statement->executeQuery(parameters, &error);
    if (!rows) return std::nullopt;
    if (!following) return firstRecord(*rows);
    auto id = onlyFileID(*rows, error);
    if (error) return std::nullopt;
    rows->close();
    if (id) parent = std::move(*id);
    component = following;
  }
  return std::nullopt;
}

std::optional<WVRDrivenFile> WVDBAccessor::firstRecord(ResultSet& rows) {
  auto records = nodesForQueryResult(rows);
  if (!records || records->empty()) return std::nullopt;
  return std::move(records->front());
}

std::optional<WVRDrivenFile> WVDBAccessor::folderWithPath(const std::string& path) {
  // No caller depends on is_folder, so a file's record is returned too.
  return fileWithPath(path);
}

std::optional<WVDBAccessor::Files> WVDBAccessor::filesWithParentID(std::string_view parentID) {
  std::optional<DatabaseError> error;
  const auto rows = databaseHandler_->executeQuery(childrenQuery(parentID), &error);
  if (!rows) {
    raiseError(error);
    return std::nullopt;
  }
  return nodesForQueryResult(*rows);
}

bool WVDBAccessor::visitFilesWithParentID(std::string_view parentID, const RowVisitor& visit) {
  std::optional<DatabaseError> error;
  const auto rows = databaseHandler_->executeQuery(childrenQuery(parentID), &error);
  if (rows) return visitRows(*rows, visit);
  raiseError(error);
  return false;
}

std::optional<WVDBAccessor::Files> WVDBAccessor::nodesForQueryResult(ResultSet& rows) {
  Files files;
  const bool complete =
      visitRows(rows, [&files](const Row& row) { files.push_back(recordOf(row)); });
  return complete ? std::optional(std::move(files)) : std::nullopt;
}

bool WVDBAccessor::visitRows(ResultSet& rows, const RowVisitor& visit) {
  std::optional<Columns> columns;
  std::optional<DatabaseError> error;
  for (;;) {
    const auto step = rows.next(&error);
    if (step == ResultSet::Step::done) return true;
    if (step == ResultSet::Step::error || (!columns && !columns.emplace().find(rows, error))) {
      rows.close();
      raiseError(error);
      return false;
    }
    visit(rowOf(rows, *columns));
  }
}

WVDBAccessor::Nodes WVDBAccessor::excludedNodes() const {
  const MutexLock lock(lock_);
  return excludedNodes_;
}

WVDBAccessor::Nodes WVDBAccessor::notExcludedNodes() const {
  const MutexLock lock(lock_);
  return notExcludedNodes_;
}

void WVDBAccessor::updateCache() {
  // Read outside the lock and publish under it: a drawing thread must not wait for the disk. A list
  // whose read fails is published as null.
  Nodes included;
  Nodes excluded = excludedNodes();
  const platform::ScopeExit publish([&] {
    const MutexLock lock(lock_);
    notExcludedNodes_.swap(included);
    excludedNodes_.swap(excluded);
  });
  bool bad = false;
  try {
    included = std::make_shared<const FSCRAccessor::Nodes>(
        fsrcAccessor_.notExcludedNodes(*databaseHandler_));
    excluded.reset();
    excluded =
        std::make_shared<const FSCRAccessor::Nodes>(fsrcAccessor_.excludedNodes(*databaseHandler_));
  } catch (const BadDatabase&) {
    bad = true;
  }
  if (bad) {
    shouldRun_ = false;
    raiseError(std::nullopt);
  }
  if (shouldRun_) scheduleNext();
}

void WVDBAccessor::scheduleFirst() {
  std::shared_ptr<platform::Queue> queue;
  {
    const MutexLock lock(wiring_);
    queue = update_queue_;
  }
  queue->async([self = shared_from_this()] { self->updateCache(); });
}

void WVDBAccessor::scheduleNext() {
  const MutexLock lock(wiring_);
  if (!update_queue_) return;
  scheduled_ =
      update_queue_->after(kRefreshInterval, [self = shared_from_this()] { self->updateCache(); });
}

void WVDBAccessor::raiseError(const std::optional<DatabaseError>&) {
  if (const auto receiver = delegate()) receiver->accessorGoneBad(shared_from_this());
}

void WVDBAccessor::stop() {
  std::shared_ptr<platform::Queue> queue;
  std::shared_ptr<platform::DelayedBlock> scheduled;
  {
    const MutexLock lock(wiring_);
    shouldRun_ = false;
    queue.swap(update_queue_);
    scheduled = scheduled_.lock();
  }
  if (scheduled) scheduled->expedite();
}

}  // namespace wevora
