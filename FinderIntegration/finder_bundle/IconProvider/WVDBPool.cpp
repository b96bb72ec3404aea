#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"

#include <algorithm>
#include <chrono>

#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"

namespace wevora {
namespace {

using platform::MutexLock;

constexpr std::chrono::nanoseconds kBlockTime{5'000'000'000};

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
  Accessor known;
  bool blocked = false;
  {
    const MutexLock lock(lock_);
    const auto found = accessorForPath_.find(*dbPath);
    if (found != accessorForPath_.end()) known = found->second;
    blocked = isBlocked(*dbPath);
  }
  const bool hasDatabase = exists(*dbPath);
  if (known && hasDatabase) return known;
  if (blocked) return nullptr;
  if (hasDatabase) return openedAccessor(*dbPath, *mountPoint);
  forgetAccessorOf(*dbPath);
  return nullptr;
}

bool WVDBPool::isBlocked(const std::string& dbPath) const {
  return std::ranges::find(blockList_, dbPath) != blockList_.end();
}

template <class Matches>
std::vector<WVDBPool::Accessor> WVDBPool::livingAccessors(Matches matches) const {
  std::vector<Accessor> living;
  for (const auto& weak : made_)
    if (auto accessor = weak.lock(); accessor && matches(*accessor))
      living.push_back(std::move(accessor));
  return living;
}

WVDBPool::Accessor WVDBPool::openedAccessor(const std::string& dbPath,
                                            const std::string& mountPoint) {
  const auto made = WVDBAccessor::initWithPath(dbPath, {services_.databases, services_.dispatch},
                                               weak_from_this(), mountPoint);
  Accessor answer = made;
  std::vector<Accessor> superseded;
  {
    const MutexLock lock(lock_);
    if (isBlocked(dbPath)) {
      // The volume was asked for while the database was being opened.
      answer = nullptr;
    } else if (const auto [place, first] = accessorForPath_.try_emplace(dbPath, made); !first) {
      answer = place->second;  // another thread was faster
    } else {
      superseded =
          livingAccessors([&](const WVDBAccessor& other) { return other.dbPath() == dbPath; });
      std::erase_if(made_, [](const auto& weak) { return weak.expired(); });
      made_.push_back(made);
    }
  }
  if (answer != made) made->stop();
  for (const auto& other : superseded) other->stop();
  return answer;
}

void WVDBPool::forgetAccessorOf(const std::string& dbPath) {
  Accessor forgotten;
  {
    const MutexLock lock(lock_);
    const auto found = accessorForPath_.find(dbPath);
    if (found == accessorForPath_.end()) return;
    forgotten = std::move(found->second);
    accessorForPath_.erase(found);
  }
  forgotten->stop();
  forgotten->setDelegate({});
}

bool WVDBPool::diskShouldBeUnmounted(const platform::Disk& disk) {
  const auto described = disk.description.find(platform::kDiskDescriptionVolumePathKey);
  const Text volume = described == disk.description.end() ? std::nullopt : Text(described->second);
  const auto dbPath = dbPathForMountPoint(volume);
  Accessors dropped;
  std::vector<Accessor> onVolume;
  bool blocked = false;
  {
    const MutexLock lock(lock_);
    dropped.swap(accessorForPath_);
    if (dbPath && dropped.contains(*dbPath)) {
      blockList_.push_back(*dbPath);
      blocked = true;
    }
    if (volume) {
      const auto mountPoint = withTrailingSeparator(*volume);
      onVolume = livingAccessors(
          [&](const WVDBAccessor& accessor) { return accessor.mountPoint() == mountPoint; });
    }
  }
  if (blocked) {
    dropped[*dbPath]->stop();
    unblockLater(*dbPath);
  }
  for (const auto& accessor : onVolume) accessor->stop();
  return true;
}

void WVDBPool::unblockLater(const std::string& dbPath) {
  services_.dispatch.mainQueue().after(kBlockTime, [weak = weak_from_this(), dbPath] {
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
  if (auto known = mountPointForPath_.find(folder)) return known;
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
  if (auto known = dbPathForMountPoint_.find(*mountPoint)) return known;
  const auto account = accountId();
  auto path = databasePathForDeviceWithMountPoint(
      mountPoint, deviceSpecificMacFilesSystem(*mountPoint), account);
  if (path) {
    // Not if the account has changed meanwhile: the cache was emptied for that.
    const MutexLock lock(lock_);
    if (accountId_ == account) dbPathForMountPoint_.store(*mountPoint, *path);
  }
  return path;
}

bool WVDBPool::deviceSpecificMacFilesSystem(const std::string& mountPoint) const {
  return isMacSpecificFileSystem(services_.volumes.fileSystemTypeOf(mountPoint));
}

bool WVDBPool::isMacSpecificFileSystem(const Text& kind) {
  return !kind || *kind == "hfs" || *kind == "hfsplus";
}

WVDBPool::Text WVDBPool::databasePathForDeviceWithMountPoint(const Text& mountPoint,
                                                             bool macSpecificFileSystem,
                                                             const Text& accountID) {
  if (!mountPoint || !accountID) return std::nullopt;
  const std::string folder = macSpecificFileSystem ? "/.wevora" : "";
  return platform::standardizedPath(*mountPoint + folder + "/Wevora-Account-" + *accountID + ".db");
}

}  // namespace wevora
