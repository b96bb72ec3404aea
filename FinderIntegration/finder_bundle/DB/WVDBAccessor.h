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

/// Receives the report that an accessor's database is unusable.
/// Thread-safety: called on any thread.
/// Errors: must not throw.
class IWVDBAccessorDelegate {
 public:
  virtual ~IWVDBAccessorDelegate() = default;
  // -accessorGoneBad:
  virtual void accessorGoneBad(const std::shared_ptr<WVDBAccessor>& accessor) = 0;
};

/// Dependencies of an accessor. They outlive it.
struct WVDBAccessorServices {
  platform::Databases& databases;
  platform::Dispatch& dispatch;
};

/// Reads one volume's sync database. Caches the folder rules and refreshes them every two seconds,
/// on its own queue, until it is stopped or a read fails. Never writes.
///
/// Thread-safety: any thread. `lock_` and `wiring_` are never held while the database is read or
///   the delegate is called, nor together.
/// Ownership: the scheduled refresh holds the accessor, so an accessor that is not stopped stays
///   alive. The delegate is a weak reference.
/// Errors: database errors are reported to the delegate, and the call returns nullopt or a partial
///   result. Throws AssertionFailure if two rows on a path have the same parent and name.
class WVDBAccessor : public std::enable_shared_from_this<WVDBAccessor> {
  struct Private {
    explicit Private() = default;
  };

 public:
  using Files = std::vector<WVRDrivenFile>;
  /// A row of the file table. Its texts are valid only during the visit.
  struct Row {
    std::optional<std::string_view> fileID;
    std::optional<std::string_view> parentID;
    bool isFolder = false;
    std::string_view nameShort;
    std::optional<platform::Date> synchronized;
  };
  using RowVisitor = std::function<void(const Row&)>;
  /// An immutable snapshot of a rule list.
  using Nodes = std::shared_ptr<const FSCRAccessor::Nodes>;

  /// Opens the database and queues the first refresh.
  // -initWithPath:
  static std::shared_ptr<WVDBAccessor> initWithPath(const std::string& path,
                                                    const WVDBAccessorServices& services);
  /// The same, with delegate and mount point set before the first refresh can run.
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

  /// The record of an absolute path. Folders of the path that have no row are skipped.
  // -fileWithPath:
  std::optional<WVRDrivenFile> fileWithPath(const std::string& path);
  /// The same; the record need not be a folder's.
  // -folderWithPath:
  std::optional<WVRDrivenFile> folderWithPath(const std::string& path);
  /// The children of the folder with this identifier, which is inserted into the query unescaped.
  // -filesWithParentID:
  std::optional<Files> filesWithParentID(std::string_view parentID);
  /// Visits the same rows one at a time, without copying their texts. Returns false if
  /// filesWithParentID would return nullopt; some rows may have been visited by then.
  bool visitFilesWithParentID(std::string_view parentID, const RowVisitor& visit);
  // -nodesForQueryResult:
  std::optional<Files> nodesForQueryResult(platform::ResultSet& rows);

  /// Null before the first refresh and after a failed read.
  // -excludedNodes
  Nodes excludedNodes() const;
  // -notExcludedNodes
  Nodes notExcludedNodes() const;

  /// Reads the rules and schedules the next refresh. Runs on the accessor's queue.
  // -updateCache
  void updateCache();
  // -raiseError:
  void raiseError(const std::optional<platform::DatabaseError>& error);
  /// Ends the refresh cycle. A scheduled refresh runs once more immediately, so that the database
  /// is closed without delay.
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
  std::weak_ptr<platform::DelayedBlock> scheduled_ GUARDED_BY(wiring_);  // weak: it holds this
};

}  // namespace wevora
