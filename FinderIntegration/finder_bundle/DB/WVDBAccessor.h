#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FinderIntegration/finder_bundle/DB/FSCRAccessor.h"
#include "Platform/Base/Mutex.h"
#include "Platform/Database/Database.h"
#include "Platform/Dispatch/Dispatch.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/WVRDrivenFile.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVRDeviceInformationHandler/DBConnection/Models/WVRFSCRNode.h"

namespace wevora {

class WVDBAccessor;

/// Who is told that an accessor's database cannot be trusted any more.
/// Threads: any. Owns: nothing here. Errors: must not throw.
class IWVDBAccessorDelegate {
 public:
  virtual ~IWVDBAccessorDelegate() = default;
  // -accessorGoneBad:
  virtual void accessorGoneBad(const std::shared_ptr<WVDBAccessor>& accessor) = 0;
};

/// What an accessor works with; all of it outlives the accessor.
struct WVDBAccessorServices {
  platform::Databases& databases;
  platform::Dispatch& dispatch;
};

/// The reader of one volume's sync database. It keeps the folder rules in memory and reads them
/// anew every two seconds, on a queue of its own, until it is stopped or a read fails; the refresh
/// that waits keeps the accessor alive. It never writes.
/// Threads: any. No lock is held while the database is read or the delegate is told.
/// Owns: the open database, the rule lists, its queue; not its delegate.
/// Errors: database errors go to the delegate, and the call answers none or what it has;
///   AssertionFailure for two rows of one name under one parent on the way to a path.
class WVDBAccessor : public std::enable_shared_from_this<WVDBAccessor> {
  struct Private {
    explicit Private() = default;
  };

 public:
  using Files = std::vector<WVRDrivenFile>;
  /// A row of the file table. Its texts are valid during the visit.
  struct Row {
    std::optional<std::string_view> fileID;
    std::optional<std::string_view> parentID;
    bool isFolder = false;
    std::string_view nameShort;
    std::optional<platform::Date> synchronized;
  };
  using RowVisitor = std::function<void(const Row&)>;
  /// A list that nobody changes any more.
  using Nodes = std::shared_ptr<const FSCRAccessor::Nodes>;

  /// Opens the database and queues the first refresh.
  // -initWithPath:
  static std::shared_ptr<WVDBAccessor> initWithPath(const std::string& path,
                                                    const WVDBAccessorServices& services);
  /// The same, with delegate and mount point set before the refresh can run.
  static std::shared_ptr<WVDBAccessor> initWithPath(const std::string& path,
                                                    const WVDBAccessorServices& services,
                                                    std::weak_ptr<IWVDBAccessorDelegate> delegate,
                                                    const std::string& mountPoint);

  WVDBAccessor(Private, const std::string& path, const WVDBAccessorServices& services);
  ~WVDBAccessor();
  WVDBAccessor(const WVDBAccessor&) = delete;
  WVDBAccessor& operator=(const WVDBAccessor&) = delete;

  // -mountPoint
  std::string mountPoint() const { return fsrcAccessor_.mountPoint(); }
  /// With a trailing "/", or "/".
  // -setMountPoint:
  void setMountPoint(const std::string& mountPoint) { fsrcAccessor_.setMountPoint(mountPoint); }

  // -delegate
  std::shared_ptr<IWVDBAccessorDelegate> delegate() const;
  // -setDelegate:
  void setDelegate(std::weak_ptr<IWVDBAccessorDelegate> delegate);

  // -databaseHandler
  const std::shared_ptr<platform::Database>& databaseHandler() const { return databaseHandler_; }
  // -dbPath
  const std::string& dbPath() const { return dbPath_; }

  /// The record of an absolute path. A folder on the way that has no row is passed over.
  // -fileWithPath:
  std::optional<WVRDrivenFile> fileWithPath(const std::string& path);
  /// The same, whether the record is that of a folder or not.
  // -folderWithPath:
  std::optional<WVRDrivenFile> folderWithPath(const std::string& path);
  /// The children of the folder with this identifier, which is pasted into the query as it is.
  // -filesWithParentID:
  std::optional<Files> filesWithParentID(std::string_view parentID);
  /// The same, one row at a time and without a copy of their texts, as a folder may hold thousands.
  /// False where filesWithParentID would answer none; rows may have been visited before that.
  bool visitFilesWithParentID(std::string_view parentID, const RowVisitor& visit);
  // -nodesForQueryResult:
  std::optional<Files> nodesForQueryResult(platform::ResultSet& rows);

  /// None before the first refresh, and while the latest read failed.
  // -excludedNodes
  Nodes excludedNodes() const;
  // -notExcludedNodes
  Nodes notExcludedNodes() const;

  /// Reads the rules and schedules the next refresh. Runs on the accessor's queue.
  // -updateCache
  void updateCache();
  // -raiseError:
  void raiseError(const std::optional<platform::DatabaseError>& error);
  /// Ends the refreshes. One that is scheduled already runs once more, at once, so that the
  /// database is let go without delay.
  // -stop
  void stop();

 private:
  void scheduleFirst();
  void scheduleNext();
  std::optional<WVRDrivenFile> topRow(std::optional<platform::DatabaseError>& error);
  std::optional<WVRDrivenFile> walk(const std::string& relativePath,
                                    std::optional<platform::DatabaseError>& error);
  std::optional<WVRDrivenFile> firstRecord(platform::ResultSet& rows);
  bool visitRows(platform::ResultSet& rows, const RowVisitor& visit);

  const std::string dbPath_;
  std::shared_ptr<platform::Database> databaseHandler_;
  FSCRAccessor fsrcAccessor_;
  std::atomic<bool> shouldRun_{true};

  mutable platform::Mutex lock_;  // the rule lists
  Nodes excludedNodes_ GUARDED_BY(lock_);
  Nodes notExcludedNodes_ GUARDED_BY(lock_);

  mutable platform::Mutex wiring_;  // the delegate and the refresh cycle
  std::weak_ptr<IWVDBAccessorDelegate> delegate_ GUARDED_BY(wiring_);
  std::shared_ptr<platform::Queue> update_queue_ GUARDED_BY(wiring_);
  std::weak_ptr<platform::DelayedBlock> scheduled_ GUARDED_BY(wiring_);  // it holds this
};

}  // namespace wevora
