#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "FinderIntegration/finder_bundle/BadgeImages.h"
#include "FinderIntegration/finder_bundle/FolderStatuses.h"
#include "FinderIntegration/finder_bundle/IconProvider/WVDBPool.h"
#include "FinderIntegration/finder_bundle/Tools/ItemURL.h"
#include "FinderIntegration/finder_bundle/Tools/TFENode.h"
#include "FinderIntegration/finder_bundle/Tools/WVFinderTools.h"
#include "Platform/Base/Strings.h"
#include "Platform/Installation/InstalledPaths.h"
#include "Platform/Runtime/Runtime.h"

namespace wevora {

/// How sync rules apply to an item.
enum WVPathType : std::int32_t {
  /// No rule applies, or the item is absent or unreadable.
  WVPathTypeNone = 1,
  /// A folder inside a rule's folder, or an ancestor of one.
  WVPathTypeRuleFolder = 2,
  /// Inside an included folder whose path is longer than that of the excluded one.
  WVPathTypeIncluded = 3,
};

/// Dependencies of the provider. They outlive it.
struct WVIconProviderServices {
  const platform::Clock& clock;
  platform::Dispatch& dispatch;
  WVFinderTools& finderTools;
  std::shared_ptr<WVDBPool> pool;
  const platform::Runtime& runtime = platform::Runtime::shared();
  platform::InstalledPaths paths =
      platform::InstalledPaths::shared();  ///< where the badge images are
};

/// Maps an item that the host draws to the word for its backup state and to a badge, from an
/// in-memory cache of folders. A missing or stale folder is refreshed in the background, and the
/// items whose word changed are redrawn.
///
/// A cached folder is fresh for four seconds. A folder is pending at most once, and at most eight
/// refreshes run at a time. Beyond 800 cached folders the least recently refreshed ones are
/// evicted.
///
/// Thread-safety: colorFor, the image functions, setView, setTurnedOn and the path types belong to
///   the main thread; any thread may call the others. `args_` is confined to "support_queue".
///   `lock_` and `views_` are never held while the database is read or the host is called, nor
///   together.
/// Errors: a missing volume, database or row means no word.
class WVIconProvider : public std::enable_shared_from_this<WVIconProvider> {
  struct Private {
    explicit Private() = default;
  };

 public:
  using Word = std::optional<std::string>;

  /// The process-wide instance. The first call must be on the main thread; it is never destroyed.
  // +defaultProvider
  static WVIconProvider& defaultProvider();
  // -init
  static std::shared_ptr<WVIconProvider> init(WVIconProviderServices services);
  WVIconProvider(Private, WVIconProviderServices services);
  ~WVIconProvider();
  WVIconProvider(const WVIconProvider&) = delete;
  WVIconProvider& operator=(const WVIconProvider&) = delete;

  /// "green", "blue" or "red"; "" for an unreadable item and for a boot volume without rules.
  /// nullopt if the cache has no entry; then a refresh of the item's folder is queued.
  // -colorFor:
  Word colorFor(const ItemURL& url);

  // The image functions return one of the provider's own images, not a copy, or null if the item
  // has no badge. Exceptions of the host propagate.

  /// A flipped context gets the unflipped image and vice versa.
  // -imageForPath:isFlipped:
  platform::ImageRef imageForPath(const ItemURL& path, bool isFlipped);
  /// Null while badges are off. Otherwise stores the view for the node's path.
  // -imageForFINode:withView:isFlipped:
  platform::ImageRef imageForFINode(const platform::Id& node, const platform::Id& withView,
                                    bool isFlipped);
  /// The badge of a list or column cell.
  // -iconForCell:
  platform::ImageRef iconForCell(const platform::Id& cell);
  /// The badge of an icon view cell.
  // -imageForBrowserCell:
  platform::ImageRef imageForBrowserCell(const platform::Id& cell);
  /// The badge of a desktop icon, which is its own view.
  // -iconForDesktopCell:
  platform::ImageRef iconForDesktopCell(const platform::Id& icon);
  /// nullopt for a null pointer or a node without a URL.
  // -pathForNode:
  std::optional<ItemURL> pathForNode(const TFENode* node) const;
  const BadgeImages& images() const noexcept { return images_; }

  // -pathTypeForPath:
  WVPathType pathTypeForPath(const ItemURL& url);
  /// A null accessor has no rules.
  // -pathTypeForPath:withAccessor:
  static WVPathType pathTypeForPath(const ItemURL& url, const WVDBAccessor* withAccessor);

  /// Queues a refresh of the item's parent folder, unless one is pending.
  // -addOperationWithFolderName:queuePriority:threadPriority:
  void addOperationWithFolderName(const std::optional<std::string>& folderName, int queuePriority,
                                  double threadPriority);
  /// Refreshes the cache for the item's parent folder. Runs on a worker.
  // -updateCacheForPath:
  void updateCacheForPath(const std::string& path);

  /// Stores the view that drew the item at this full path, until the item's word changes.
  // -setView:forKey:
  void setView(const platform::Id& view, const std::optional<std::string>& forKey);
  /// Does nothing; an extension point for drawing hooks whose cell was destroyed.
  // -removeCell:
  void removeCell(const platform::Id& cell);

  // -turnedOn
  bool turnedOn() const noexcept { return turnedOn_.load(); }
  // -setTurnedOn:
  void setTurnedOn(bool turnedOn);

  /// Clears the cache and makes the pool reopen its databases.
  // -reinit
  void reinit();
  // -pool
  const std::shared_ptr<WVDBPool>& pool() const noexcept { return services_.pool; }

  /// Runs the block on the main queue once no refresh is pending.
  void performWhenIdle(platform::Block block);

 private:
  using Statuses = std::shared_ptr<const FolderStatuses>;
  using Accessor = WVDBPool::Accessor;
  using Folders = std::unordered_map<std::string, Statuses, platform::StringHash, std::equal_to<>>;
  using Usage = std::list<std::string>;

  static constexpr std::size_t kMaxFolders = 800;

  struct CacheEntry {
    std::string word;
    platform::Date creationDate;
  };
  std::optional<CacheEntry> find(const std::string& path) const;
  Statuses statusesOf(std::string_view folder) const;

  void refresh(const std::string& path, const std::string& folder);
  void refreshVolumeTopOnly(const std::string& path, const std::string& folder,
                            const WVDBAccessor* pathAccessor);
  void setVolumeTop(FolderStatuses& statuses, std::string_view name,
                    const WVDBAccessor* accessor) const;
  WVStringWithCreationDate statusOf(const WVDBAccessor::Row& row) const;
  std::vector<platform::Id> takeViewsOf(const std::vector<std::string>& paths);
  void redraw(platform::Id view);
  void store(const std::string& folder, Statuses statuses);
  void touch(const std::string& folder) REQUIRES(lock_);
  void trim(std::vector<Statuses>& evicted) REQUIRES(lock_);
  void refreshEnded(const std::string& folder);
  void clearCaches();
  void runIdleBlocksIfIdle();

  platform::Id nodeOf(const TFENode& reference) const;

  const WVIconProviderServices services_;
  const BadgeImages images_;
  const std::shared_ptr<platform::Class> FINodeClass;  // null if the host has no such class
  std::atomic<bool> turnedOn_{false};

  const std::shared_ptr<platform::Queue> support_queue_;
  std::unordered_set<std::string> args_;   // confined to support_queue: pending folders
  std::vector<platform::Block> whenIdle_;  // confined to support_queue

  mutable platform::Mutex lock_;
  Folders dictionaryForFolder_ GUARDED_BY(lock_);
  Usage usageList_ GUARDED_BY(lock_);  // most recently refreshed first
  std::unordered_map<std::string, Usage::iterator> usagePlaces_ GUARDED_BY(lock_);

  platform::Mutex views_;
  std::unordered_map<std::string, platform::Id> viewForPath_ GUARDED_BY(views_);

  const std::shared_ptr<platform::OperationQueue> queue_;
};

}  // namespace wevora
