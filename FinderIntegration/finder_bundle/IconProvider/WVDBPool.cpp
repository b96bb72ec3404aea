#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"

#include <algorithm>
#include <chrono>

#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"

namespace wevora {
namespace {

using platform::MutexLock;

constexpr std::chrono::nanoseconds kBlockDuration{5'000'000'000};

std::string withTrailingSeparator(std::string path) {
  if (path.empty() || path.back() != '/') path += '/';
  return path;
}

bool exists(const std::string& path) {
  return platform::statOfTarget(path).has_value();
}

}  // namespace

std::shared_ptr<WVDBPool> WVDBPool::init(const WVDBPoolServices& services) {
  return std::make_shared<WVDBPool>(Private(), services);
}

WVDBPool::WVDBPool(Private, const WVDBPoolServices& services)
    : services_(services), ejector_(services.unmountApprovals) {
  ejector_.setEventReceiver(this);
}

WVDBPool::Text WVDBPool::accountId() const {
  const MutexLock lock(lock_);
  return accountId_;
}

void WVDBPool::setAccountId(Text accountId) {
  Accessors dropped;
  const MutexLock lock(lock_);
  dropped.swap(accessorForPath_);
  accountId_ = std::move(accountId);
  dbPathForMountPoint_.removeAll();
}

void WVDBPool::reinit() {
  Accessors dropped;
  const MutexLock lock(lock_);
  dropped.swap(accessorForPath_);
  dbPathForMountPoint_.removeAll();
  mountPointForPath_.removeAll();
}

void WVDBPool::accessorGoneBad(const Accessor&) {
  Accessors dropped;
  const MutexLock lock(lock_);
  dropped.swap(accessorForPath_);
}

WVDBPool::Accessor WVDBPool::accessorWithPath(const std::string& path) {
  const auto mountPoint = mountPointForPath(path);
  if (!mountPoint) return nullptr;
  const auto dbPath = dbPathForMountPoint(mountPoint);
  if (!dbPath) return nullptr;
  Accessor cached;
  bool blocked = false;
  {
    const MutexLock lock(lock_);
    const auto found = accessorForPath_.find(*dbPath);
    if (found != accessorForPath_.end()) cached = found->second;
    blocked = isBlocked(*dbPath);
  }
  const bool hasDatabase = exists(*dbPath);
  if (cached && hasDatabase) return cached;
  if (blocked) return nullptr;
  if (hasDatabase) return openedAccessor(*dbPath, *mountPoint);
  dropAccessorOf(*dbPath);
  return nullptr;
}

bool WVDBPool::isBlocked(const std::string& dbPath) const {
  return std::ranges::find(blockList_, dbPath) != blockList_.end();
}

std::vector<WVDBPool::Accessor> WVDBPool::liveAccessors() const {
  std::vector<Accessor> live;
  for (const auto& weak : opened_)
    if (auto accessor = weak.lock()) live.push_back(std::move(accessor));
  return live;
}

WVDBPool::Accessor WVDBPool::openedAccessor(const std::string& dbPath,
                                            const std::string& mountPoint) {
  const auto opened = WVDBAccessor::initWithPath(dbPath, {services_.databases, services_.dispatch},
                                                 weak_from_this(), mountPoint);
  Accessor result = opened;
  std::vector<Accessor> older;
  {
    const MutexLock lock(lock_);
    if (isBlocked(dbPath)) {
      // An unmount was requested while the database was being opened.
      result = nullptr;
    } else if (const auto [place, first] = accessorForPath_.try_emplace(dbPath, opened); !first) {
      result = place->second;  // another thread was faster
    } else {
      older = liveAccessors();
      std::erase_if(opened_, [](const auto& weak) { return weak.expired(); });
      opened_.push_back(opened);
    }
  }
  if (result != opened) opened->stop();
  for (const auto& other : older)
    if (other->dbPath() == dbPath) other->stop();
  return result;
}

void WVDBPool::dropAccessorOf(const std::string& dbPath) {
  Accessor dropped;
  {
    const MutexLock lock(lock_);
    const auto found = accessorForPath_.find(dbPath);
    if (found == accessorForPath_.end()) return;
    dropped = std::move(found->second);
    accessorForPath_.erase(found);
  }
  dropped->stop();
  dropped->setDelegate({});
}

bool WVDBPool::diskShouldBeUnmounted(const platform::Disk& disk) {
  const auto described = disk.description.find(platform::kDiskDescriptionVolumePathKey);
  const Text volume = described == disk.description.end() ? std::nullopt : Text(described->second);
  const auto dbPath = dbPathForMountPoint(volume);
  Accessors dropped;
  std::vector<Accessor> live;
  bool blocked = false;
  {
    const MutexLock lock(lock_);
    dropped.swap(accessorForPath_);
    if (dbPath && dropped.contains(*dbPath)) {
      blockList_.push_back(*dbPath);
      blocked = true;
    }
    if (volume) live = liveAccessors();
  }
  if (blocked) {
    dropped[*dbPath]->stop();
    unblockLater(*dbPath);
  }
  if (volume) {
    const auto mountPoint = withTrailingSeparator(*volume);
    for (const auto& accessor : live)
      if (accessor->mountPoint() == mountPoint) accessor->stop();
  }
  return true;
}

void WVDBPool::unblockLater(const std::string& dbPath) {
  services_.dispatch.mainQueue().after(kBlockDuration, [weak = weak_from_this(), dbPath] {
    const auto self = weak.lock();
    if (!self) return;
    const MutexLock lock(self->lock_);
    std::erase(self->blockList_, dbPath);
  });
}

WVDBPool::Text WVDBPool::mountPointForPath(const std::string& path) {
  const std::string folder = platform::isDirectory(platform::statOfTarget(path))
                                 ? path
                                 : std::string(platform::pathWithoutLastComponent(path));
  if (auto cached = mountPointForPath_.find(folder)) return cached;
  auto mountPoint = volumeHolding(folder);
  if (mountPoint) mountPointForPath_.store(folder, *mountPoint);
  return mountPoint;
}

WVDBPool::Text WVDBPool::volumeHolding(const std::string& folder) const {
  const std::string searched = withTrailingSeparator(folder);
  Text longest;
  for (auto& volume : services_.volumes.mountedVolumes()) {
    auto root = withTrailingSeparator(std::move(volume.rootPath));
    if (searched.starts_with(root) && (!longest || root.size() > longest->size()))
      longest = std::move(root);
  }
  return longest;
}

WVDBPool::Text WVDBPool::dbPathForMountPoint(const Text& mountPoint) {
  if (!mountPoint) return std::nullopt;
  if (auto cached = dbPathForMountPoint_.find(*mountPoint)) return cached;
  const auto account = accountId();
  auto path = databasePathForDeviceWithMountPoint(
      mountPoint, deviceSpecificMacFilesSystem(*mountPoint), account);
  if (path) {
    // Do not cache the path of an old account.
    const MutexLock lock(lock_);
    if (accountId_ == account) dbPathForMountPoint_.store(*mountPoint, *path);
  }
  return path;
}

bool WVDBPool::deviceSpecificMacFilesSystem(const std::string& mountPoint) const {
  return isMacSpecificFileSystem(services_.volumes.fileSystemTypeOf(mountPoint));
}

bool WVDBPool::isMacSpecificFileSystem(const Text& type) {
  return !type || *type == "hfs" || *type == "hfsplus";
}

WVDBPool::Text WVDBPool::databasePathForDeviceWithMountPoint(const Text& mountPoint,
                                                             bool macSpecificFileSystem,
                                                             const Text& accountID) {
  if (!mountPoint || !accountID) return std::nullopt;
  const std::string folder = macSpecificFileSystem ? "/.wevora" : "";
  return platform::standardizedPath(*mountPoint + folder + "/Wevora-Account-" + *accountID + ".db");
}

}  // namespace wevora
