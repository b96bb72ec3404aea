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

/// How a sync rule touches an item.
enum WVPathType : std::int32_t {
  WVPathTypeNone = 1,  ///< not touched, absent, or not readable
  WVPathTypeRuleFolder =
      2,                   ///< a folder inside a rule's folder, or one that contains such a folder
  WVPathTypeIncluded = 3,  ///< inside an included folder that is longer than the excluded one
};

/// What the provider works with; all of it outlives the provider.
struct WVIconProviderServices {
  const platform::Clock& clock;
  platform::Dispatch& dispatch;
  WVFinderTools& finderTools;
  std::shared_ptr<WVDBPool> pool;
  const platform::Runtime& runtime = platform::Runtime::shared();
  platform::InstalledPaths paths = platform::InstalledPaths::shared();  ///< of the badges' images
};

/// Answers, for an item that the host draws, the word that tells its backup state, and the badge
/// for it: at once, from memory. What is missing or old is read in the background, a folder at a
/// time, and the items whose word changed are drawn again.
///
/// Threads: colorFor, the images, setView, setTurnedOn and the path types on the main thread; the
///   others on any. Refreshes run on an operation queue, at most eight at a time; the list of
///   pending folders is touched only on the serial queue "support_queue". No lock is held while the
///   database is read or the host is called, and none inside another.
/// Owns: the folder cache, the remembered views, the queues, the badges' images.
/// Errors: a missing volume, database or row means no word; nothing fails.
class WVIconProvider : public std::enable_shared_from_this<WVIconProvider> {
  struct Private {
    explicit Private() = default;
  };

 public:
  using Word = std::optional<std::string>;

  /// The one of the process, made at first use (on the main thread) and never destroyed.
  // +defaultProvider
  static WVIconProvider& defaultProvider();
  // -init
  static std::shared_ptr<WVIconProvider> init(WVIconProviderServices services);
  WVIconProvider(Private, WVIconProviderServices services);
  ~WVIconProvider();
  WVIconProvider(const WVIconProvider&) = delete;
  WVIconProvider& operator=(const WVIconProvider&) = delete;

  /// "green", "blue" or "red"; "" for an item that cannot be read and for a boot volume without
  /// rules; none while nothing is known, and then a refresh of the item's folder is queued.
  // -colorFor:
  Word colorFor(const ItemURL& url);

  // The badge of an item: one of the provider's own images, never a copy, and null where there is
  // no badge. What the host raises passes through.

  /// A flipped context gets the image that is not flipped, and the other way round.
  // -imageForPath:isFlipped:
  platform::ImageRef imageForPath(const ItemURL& path, bool isFlipped);
  /// Null while badges are off; otherwise the view is remembered for the node's path.
  // -imageForFINode:withView:isFlipped:
  platform::ImageRef imageForFINode(const platform::Id& node, const platform::Id& withView,
                                    bool isFlipped);
  /// Of a cell of a list or of columns.
  // -iconForCell:
  platform::ImageRef iconForCell(const platform::Id& cell);
  /// Of a cell of icons.
  // -imageForBrowserCell:
  platform::ImageRef imageForBrowserCell(const platform::Id& cell);
  /// Of an icon of the desktop, which is its own view.
  // -iconForDesktopCell:
  platform::ImageRef iconForDesktopCell(const platform::Id& icon);
  /// None for a null pointer, and for a node without a URL.
  // -pathForNode:
  std::optional<ItemURL> pathForNode(const TFENode* node) const;
  const BadgeImages& images() const noexcept { return images_; }

  // -pathTypeForPath:
  WVPathType pathTypeForPath(const ItemURL& url);
  /// A null accessor has no rules.
  // -pathTypeForPath:withAccessor:
  static WVPathType pathTypeForPath(const ItemURL& url, const WVDBAccessor* withAccessor);

  /// Queues a refresh of the folder that holds the item, unless one is pending already.
  // -addOperationWithFolderName:queuePriority:threadPriority:
  void addOperationWithFolderName(const std::optional<std::string>& folderName, int queuePriority,
                                  double threadPriority);
  /// The refresh itself, for the folder that holds the item.
  // -updateCacheForPath:
  void updateCacheForPath(const std::string& path);

  /// Remembers what drew the item at a full path, until the item's word changes.
  // -setView:forKey:
  void setView(const platform::Id& view, const std::optional<std::string>& forKey);
  /// Does nothing: a place for the drawing hooks to report a cell that went away.
  // -removeCell:
  void removeCell(const platform::Id& cell);

  // -turnedOn
  bool turnedOn() const noexcept { return turnedOn_.load(); }
  // -setTurnedOn:
  void setTurnedOn(bool turnedOn);

  /// Forgets everything and lets the databases be opened anew.
  // -reinit
  void reinit();
  // -pool
  const std::shared_ptr<WVDBPool>& pool() const noexcept { return services_.pool; }

  /// Runs the block on the main queue as soon as no refresh is pending.
  void performWhenIdle(platform::Block block);

 private:
  using Statuses = std::shared_ptr<const FolderStatuses>;
  using Accessor = WVDBPool::Accessor;
  using Folders = std::unordered_map<std::string, Statuses, platform::StringHash, std::equal_to<>>;
  using Usage = std::list<std::string>;

  /// Folders at the front of the usage list that stay in the cache.
  static constexpr std::size_t kMaxFolders = 800;

  struct Found {
    std::string word;
    platform::Date creationDate;
  };
  std::optional<Found> find(const std::string& path) const;
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
  void forgetEverything();
  void endedPending();

  platform::Id nodeOf(const TFENode& reference) const;

  const WVIconProviderServices services_;
  const BadgeImages images_;
  const std::shared_ptr<platform::Class> FINodeClass;  // the host's, if it has it
  std::atomic<bool> turnedOn_{false};

  const std::shared_ptr<platform::Queue> support_queue_;
  std::unordered_set<std::string> args_;   // on support_queue: folders that are pending
  std::vector<platform::Block> whenIdle_;  // on support_queue

  mutable platform::Mutex lock_;
  Folders dictionaryForFolder_ GUARDED_BY(lock_);
  Usage usageList_ GUARDED_BY(lock_);  // the most recently refreshed first
  std::unordered_map<std::string, Usage::iterator> usagePlaces_ GUARDED_BY(lock_);

  platform::Mutex views_;
  std::unordered_map<std::string, platform::Id> viewForPath_ GUARDED_BY(views_);

  const std::shared_ptr<platform::OperationQueue> queue_;
};

}  // namespace wevora
