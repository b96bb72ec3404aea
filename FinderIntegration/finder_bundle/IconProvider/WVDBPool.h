#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "FinderIntegration/finder_bundle/DB/WVDBAccessor.h"
#include "Platform/Base/EvictingCache.h"
#include "Platform/Base/Mutex.h"
#include "Platform/Volumes/UnmountApproval.h"
#include "Platform/Volumes/Volumes.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/DiskEjector/WVRDiskEjector.h"

namespace wevora {

/// Dependencies of the pool. They outlive it.
struct WVDBPoolServices {
  platform::Databases& databases;
  platform::Dispatch& dispatch;
  const platform::Volumes& volumes;
  platform::UnmountApprovals& unmountApprovals;
};

/// Maps a path to the accessor of its volume's database and opens each database once. When a volume
/// is about to be unmounted, the pool closes its database and does not reopen it for five seconds.
///
/// Lifetime of accessors: one that is dropped without `stop` keeps refreshing, since its scheduled
///   refresh holds it. The pool keeps weak references and stops such accessors when their volume is
///   unmounted or their database is reopened, so that they neither accumulate nor keep a disk busy.
///
/// Thread-safety: any thread. Created, destroyed and asked for unmount approval on the main thread.
///   `lock_` is not held while an accessor is called or destroyed. Only the leaf locks of the two
///   caches are taken under it.
/// Errors: anything missing is null or nullopt.
class WVDBPool : public IWVDBAccessorDelegate,
                 public WVRDiskEjectorEventReceiver,
                 public std::enable_shared_from_this<WVDBPool> {
  struct Private {
    explicit Private() = default;
  };

 public:
  using Text = std::optional<std::string>;
  using Accessor = std::shared_ptr<WVDBAccessor>;

  // -init
  static std::shared_ptr<WVDBPool> init(const WVDBPoolServices& services);
  WVDBPool(Private, const WVDBPoolServices& services);

  // -accountId
  Text accountId() const;
  /// Drops all accessors and the database paths.
  // -setAccountId:
  void setAccountId(Text accountId);
  /// Drops all accessors, database paths and mount points.
  // -reinit
  void reinit();

  /// Null if the path's volume has no database, or a blocked one.
  // -accessorWithPath:
  Accessor accessorWithPath(const std::string& path);
  /// Drops all accessors, not only the reporting one.
  // -accessorGoneBad:
  void accessorGoneBad(const Accessor& accessor) override;

  bool implementsDiskShouldBeUnmounted() const noexcept override { return true; }
  /// Always true.
  // -diskShouldBeUnmounted:
  bool diskShouldBeUnmounted(const platform::Disk& disk) override;

  /// With a trailing "/", or "/".
  // -mountPointForPath:
  Text mountPointForPath(const std::string& path);
  // -dbPathForMountPoint:
  Text dbPathForMountPoint(const Text& mountPoint);
  /// True for HFS, HFS+ and an unknown file system.
  // -deviceSpecificMacFilesSystem:
  bool deviceSpecificMacFilesSystem(const std::string& mountPoint) const;
  /// The same for a file system type; nullopt means unknown.
  static bool isMacSpecificFileSystem(const Text& type);
  // -databasePathForDeviceWithMountPoint:macSpecificFileSystem:accountID:
  static Text databasePathForDeviceWithMountPoint(const Text& mountPoint,
                                                  bool macSpecificFileSystem,
                                                  const Text& accountID);

 private:
  using Accessors = std::unordered_map<std::string, Accessor>;

  Text volumeHolding(const std::string& folder) const;
  bool isBlocked(const std::string& dbPath) const REQUIRES(lock_);
  Accessor openedAccessor(const std::string& dbPath, const std::string& mountPoint);
  void dropAccessorOf(const std::string& dbPath);
  /// To be filtered and released after the unlock: the last reference closes a database.
  std::vector<Accessor> liveAccessors() const REQUIRES(lock_);
  void unblockLater(const std::string& dbPath);

  const WVDBPoolServices services_;
  platform::EvictingCache dbPathForMountPoint_;
  platform::EvictingCache mountPointForPath_;

  mutable platform::Mutex lock_;
  Accessors accessorForPath_ GUARDED_BY(lock_);
  Text accountId_ GUARDED_BY(lock_);
  std::vector<std::string> blockList_ GUARDED_BY(lock_);
  std::vector<std::weak_ptr<WVDBAccessor>> opened_ GUARDED_BY(lock_);

  WVRDiskEjector ejector_;  // last, so that it is destroyed first and calls no dead member
};

}  // namespace wevora
