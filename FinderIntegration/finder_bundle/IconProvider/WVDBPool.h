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

/// What the pool works with; all of it outlives the pool.
struct WVDBPoolServices {
  platform::Databases& databases;
  platform::Dispatch& dispatch;
  const platform::Volumes& volumes;
  platform::UnmountApprovals& unmountApprovals;
};

/// Finds the accessor of the volume that holds a path, opening each database once; lets go of a
/// volume that is about to be unmounted and does not reopen its database for five seconds.
///
/// An accessor that is dropped without being stopped goes on refreshing; the pool remembers it
/// weakly, and stops it when its volume is to be unmounted or when its database is opened anew, so
/// that forgotten readers neither pile up nor keep a disk busy.
///
/// Threads: any; made, destroyed and asked about unmounts on the main thread. No lock is held
///   while an accessor is called.
/// Owns: the accessors, the caches, the ejector. Errors: none is the answer for everything missing.
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

  /// Null where the volume of the path has no database, or one that must not be opened now.
  // -accessorWithPath:
  Accessor accessorWithPath(const std::string& path);
  /// Drops every accessor, not only the one that reported.
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
  /// True for HFS and HFS+ and where the kind cannot be learned.
  // -deviceSpecificMacFilesSystem:
  bool deviceSpecificMacFilesSystem(const std::string& mountPoint) const;
  /// The same, for a file system's kind; none is one that cannot be learned.
  static bool isMacSpecificFileSystem(const Text& kind);
  // -databasePathForDeviceWithMountPoint:macSpecificFileSystem:accountID:
  static Text databasePathForDeviceWithMountPoint(const Text& mountPoint,
                                                  bool macSpecificFileSystem,
                                                  const Text& accountID);

 private:
  using Accessors = std::unordered_map<std::string, Accessor>;

  Text volumeHolding(const std::string& folder) const;
  bool isBlocked(const std::string& dbPath) const REQUIRES(lock_);
  Accessor openedAccessor(const std::string& dbPath, const std::string& mountPoint);
  void forgetAccessorOf(const std::string& dbPath);
  template <class Matches>
  std::vector<Accessor> livingAccessors(Matches matches) const REQUIRES(lock_);
  void unblockLater(const std::string& dbPath);

  const WVDBPoolServices services_;
  platform::EvictingCache dbPathForMountPoint_;
  platform::EvictingCache mountPointForPath_;

  mutable platform::Mutex lock_;
  Accessors accessorForPath_ GUARDED_BY(lock_);
  Text accountId_ GUARDED_BY(lock_);
  std::vector<std::string> blockList_ GUARDED_BY(lock_);
  std::vector<std::weak_ptr<WVDBAccessor>> made_ GUARDED_BY(lock_);

  WVRDiskEjector ejector_;  // last: it goes first, and calls back no more
};

}  // namespace wevora
