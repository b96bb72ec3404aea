#include "FinderIntegration/finder_bundle/WVIconProvider.h"

#include "FinderIntegration/finder_bundle/OperationQueue/WVPerformSelectorOperation.h"
#include "Platform/Base/Guard.h"
#include "Platform/Files/FileStat.h"
#include "Platform/System/SystemServices.h"
#include "WevoraAgent/WevoraAgent/Classes/Categories/NSString+Path.h"

namespace wevora {
namespace {

using platform::Id;
using platform::MutexLock;
using platform::send;

constexpr const char* kGreen = "green";
constexpr const char* kBlue = "blue";
constexpr const char* kRed = "red";

constexpr std::size_t kMaxConcurrentRefreshes = 8;
constexpr double kFreshFor = 4.0;  // seconds

struct Priorities {
  int queue;
  double thread;
};
constexpr Priorities kForMissing{8, 0.3};
constexpr Priorities kForStale{-4, 0.1};

using Refresh = WVPerformSelectorOperation<WVIconProvider, std::string>;

std::string folderOf(std::string_view path) {
  return std::string(platform::pathWithoutLastComponent(path));
}

bool hasIncludedRules(const WVDBAccessor* accessor) {
  if (accessor == nullptr) return false;
  const auto nodes = accessor->notExcludedNodes();
  return nodes && !nodes->empty();
}

/// How the rules of one list apply to a path.
struct Touch {
  std::size_t length = 0;  ///< UTF-16 length of the root of the last rule that contains the path
  bool touched = false;

  static Touch of(const std::string& path, const WVDBAccessor::Nodes& nodes) {
    Touch touch;
    if (!nodes) return touch;
    for (const auto& node : *nodes) {
      const std::string_view root =
          node.root_folder() ? std::string_view(*node.root_folder()) : std::string_view();
      if (hasPathPrefix(path, root)) {
        // The last match in list order wins, not the longest.
        touch.length = platform::utf16Length(root);
        touch.touched = true;
      } else if (hasPathPrefix(root, path)) {
        touch.touched = true;
      }
    }
    return touch;
  }
};

}  // namespace

WVIconProvider& WVIconProvider::defaultProvider() {
  static platform::NeverDestroyed<std::shared_ptr<WVIconProvider>> provider([] {
    auto& services = platform::SystemServices::shared();
    return init({services.clock, services.dispatch, WVFinderTools::sharedTools(),
                 WVDBPool::init({services.databases, services.dispatch, services.volumes,
                                 services.unmountApprovals})});
  }());
  return **provider;
}

std::shared_ptr<WVIconProvider> WVIconProvider::init(WVIconProviderServices services) {
  return std::make_shared<WVIconProvider>(Private(), std::move(services));
}

WVIconProvider::WVIconProvider(Private, WVIconProviderServices services)
    : services_(std::move(services)),
      images_(BadgeImages::load(services_.paths)),
      FINodeClass(services_.runtime.classNamed("FINode")),
      support_queue_(services_.dispatch.serialQueue("support_queue")),
      queue_(services_.dispatch.operationQueue(kMaxConcurrentRefreshes)) {}

WVIconProvider::~WVIconProvider() {
  // Operations do not keep the provider alive.
  queue_->cancelAllOperations();
  queue_->waitUntilAllOperationsAreFinished();
}

// --- The word of an item -------------------------------------------------------------------------

WVIconProvider::Word WVIconProvider::colorFor(const ItemURL& url) {
  if (!platform::isReadableFileAtPath(url.path())) return "";
  if (url.isBootVolumeRoot()) {
    const auto type = pathTypeForPath(url);
    if (type == WVPathTypeNone) return "";
    if (type == WVPathTypeRuleFolder) return kRed;
  }
  auto cached = find(url.path());
  if (!cached) {
    addOperationWithFolderName(url.path(), kForMissing.queue, kForMissing.thread);
    return std::nullopt;
  }
  const double age = services_.clock.now() - cached->creationDate;
  if (age > kFreshFor && queue_->operationCount() < kMaxConcurrentRefreshes)
    addOperationWithFolderName(url.path(), kForStale.queue, kForStale.thread);
  return std::move(cached->word);
}

std::optional<WVIconProvider::CacheEntry> WVIconProvider::find(const std::string& path) const {
  const auto statuses = statusesOf(platform::pathWithoutLastComponent(path));
  if (!statuses) return std::nullopt;
  const auto* status = statuses->find(platform::lastPathComponent(path));
  if (status == nullptr) return std::nullopt;
  return CacheEntry{status->string(), status->creationDate()};
}

WVIconProvider::Statuses WVIconProvider::statusesOf(std::string_view folder) const {
  const MutexLock lock(lock_);
  const auto found = dictionaryForFolder_.find(folder);
  return found == dictionaryForFolder_.end() ? nullptr : found->second;
}

WVPathType WVIconProvider::pathTypeForPath(const ItemURL& url) {
  const bool readable = platform::isReadableFileAtPath(url.path());
  if (url.isBootVolumeRoot()) {
    const auto accessor = pool()->accessorWithPath("/Library");
    return hasIncludedRules(accessor.get()) ? WVPathTypeRuleFolder : WVPathTypeNone;
  }
  if (!readable) return WVPathTypeNone;
  const auto accessor = pool()->accessorWithPath(url.path());
  return pathTypeForPath(url, accessor.get());
}

WVPathType WVIconProvider::pathTypeForPath(const ItemURL& url, const WVDBAccessor* withAccessor) {
  if (withAccessor == nullptr) return WVPathTypeNone;
  const auto included = Touch::of(url.path(), withAccessor->notExcludedNodes());
  const auto excluded = Touch::of(url.path(), withAccessor->excludedNodes());
  const auto item = platform::statOfTarget(url.path());
  if (!item) return WVPathTypeNone;
  if (platform::isDirectory(item) && (included.touched || excluded.touched))
    return WVPathTypeRuleFolder;
  return included.length > excluded.length ? WVPathTypeIncluded : WVPathTypeNone;
}

// --- The badge of an item ------------------------------------------------------------------------

platform::ImageRef WVIconProvider::imageForPath(const ItemURL& path, bool isFlipped) {
  const Word word = colorFor(path);
  if (word == kRed) return isFlipped ? images_.redImage : images_.redImageFlipped;
  if (word == kBlue) return isFlipped ? images_.blueImage : images_.blueImageFlipped;
  if (word == kGreen) return isFlipped ? images_.greenImage : images_.greenImageFlipped;
  return nullptr;
}

platform::ImageRef WVIconProvider::imageForFINode(const Id& node, const Id& withView,
                                                  bool isFlipped) {
  if (!turnedOn()) return nullptr;
  const auto url = send<std::optional<ItemURL>>(node, "previewItemURL");
  if (!url) return nullptr;
  setView(withView, url->path());
  return imageForPath(*url, isFlipped);
}

platform::ImageRef WVIconProvider::iconForCell(const Id& cell) {
  if (!turnedOn()) return nullptr;
  const auto* node = send<const TFENode*>(cell, "node");
  if (node == nullptr) return nullptr;
  return imageForFINode(nodeOf(*node), send<Id>(cell, "view"), false);
}

platform::ImageRef WVIconProvider::imageForBrowserCell(const Id& cell) {
  if (!turnedOn()) return nullptr;
  return imageForFINode(send<Id>(cell, "representedItem"), nullptr, false);
}

platform::ImageRef WVIconProvider::iconForDesktopCell(const Id& icon) {
  if (!turnedOn() || !icon) return nullptr;
  const auto node = icon->instanceVariable<TFENode>("_node");
  return node ? imageForFINode(nodeOf(*node), icon, false) : nullptr;
}

std::optional<ItemURL> WVIconProvider::pathForNode(const TFENode* node) const {
  if (node == nullptr) return std::nullopt;
  return send<std::optional<ItemURL>>(nodeOf(*node), "previewItemURL");
}

Id WVIconProvider::nodeOf(const TFENode& reference) const {
  return send<Id>(FINodeClass, "nodeFromNodeRef:", reference);
}

// --- The refresh of a folder ---------------------------------------------------------------------

void WVIconProvider::addOperationWithFolderName(const std::optional<std::string>& folderName,
                                                int queuePriority, double threadPriority) {
  if (!folderName) return;
  support_queue_->async([weak = weak_from_this(), path = *folderName, queuePriority,
                         threadPriority] {
    const auto self = weak.lock();
    if (!self || !self->args_.insert(folderOf(path)).second) return;
    auto operation = std::make_shared<Refresh>(*self, &WVIconProvider::updateCacheForPath, path);
    operation->setQueuePriority(queuePriority);
    operation->setThreadPriority(threadPriority);
    self->queue_->addOperation(std::move(operation));
  });
}

void WVIconProvider::updateCacheForPath(const std::string& path) {
  const std::string folder = folderOf(path);
  // On every exit path, exceptions included: otherwise the folder stays pending forever.
  const platform::ScopeExit ended([&] { refreshEnded(folder); });
  refresh(path, folder);
}

void WVIconProvider::refresh(const std::string& path, const std::string& folder) {
  const Accessor folderAccessor = pool()->accessorWithPath(folder);
  const Accessor pathAccessor = pool()->accessorWithPath(path);
  if (!folderAccessor) return refreshVolumeTopOnly(path, folder, pathAccessor.get());

  const auto folderRecord = folderAccessor->folderWithPath(folder);
  Statuses oldStatuses = statusesOf(folder);
  auto newStatuses = std::make_shared<FolderStatuses>();
  if (folderAccessor != pathAccessor) {
    // The item is the root of another volume: add its entry to those of the folder. Published
    // statuses are immutable, so copy them.
    if (oldStatuses) *newStatuses = *oldStatuses;
    setVolumeTop(*newStatuses, platform::lastPathComponent(path), pathAccessor.get());
    if (oldStatuses) oldStatuses = std::make_shared<const FolderStatuses>(*newStatuses);
  }

  std::vector<std::string> changed;
  if (folderRecord) {
    // Discard the rows of a read that fails midway.
    FolderStatuses withRows = *newStatuses;
    if (oldStatuses) withRows.reserve(oldStatuses->size());
    const bool complete = folderAccessor->visitFilesWithParentID(
        folderRecord->file_id().value_or(""), [&](const WVDBAccessor::Row& row) {
          auto status = statusOf(row);
          const auto* before = oldStatuses ? oldStatuses->find(row.nameShort) : nullptr;
          if (!status.isEqualTo(before))
            changed.push_back(platform::pathByAppendingComponent(folder, row.nameShort));
          withRows.set(row.nameShort, std::move(status));
        });
    if (complete) {
      withRows.shrinkToFit();
      *newStatuses = std::move(withRows);
    } else {
      changed.clear();
    }
  }
  auto views = takeViewsOf(changed);
  store(folder, std::move(newStatuses));
  // After publishing: a host that redraws immediately must read the new words.
  for (auto& view : views) redraw(std::move(view));
  if (!changed.empty()) services_.finderTools.updateNodesWithPath(std::move(changed));
}

void WVIconProvider::refreshVolumeTopOnly(const std::string& path, const std::string& folder,
                                          const WVDBAccessor* pathAccessor) {
  const Statuses before = statusesOf(folder);
  auto statuses =
      before ? std::make_shared<FolderStatuses>(*before) : std::make_shared<FolderStatuses>();
  setVolumeTop(*statuses, platform::lastPathComponent(path), pathAccessor);
  // Not added to the usage list: a folder outside all databases is never evicted.
  const MutexLock lock(lock_);
  dictionaryForFolder_.insert_or_assign(folder, std::move(statuses));
}

void WVIconProvider::setVolumeTop(FolderStatuses& statuses, std::string_view name,
                                  const WVDBAccessor* accessor) const {
  if (hasIncludedRules(accessor))
    statuses.set(name, WVStringWithCreationDate(kRed, services_.clock));
  else
    statuses.remove(name);
}

WVStringWithCreationDate WVIconProvider::statusOf(const WVDBAccessor::Row& row) const {
  const char* word = row.isFolder ? kRed : row.synchronized ? kGreen : kBlue;
  return {word, services_.clock};
}

std::vector<Id> WVIconProvider::takeViewsOf(const std::vector<std::string>& paths) {
  std::vector<Id> views;
  const MutexLock lock(views_);
  for (const auto& path : paths) {
    const auto found = viewForPath_.find(path);
    if (found == viewForPath_.end()) continue;
    views.push_back(std::move(found->second));
    viewForPath_.erase(found);
  }
  return views;
}

void WVIconProvider::redraw(Id view) {
  // Moved into the block, so that the last reference is released on the main thread.
  const bool isLayer = view->respondsToSelector("setNeedsDisplay");
  services_.dispatch.mainQueue().async(
      [view = std::move(view), isLayer, &finderTools = services_.finderTools] {
        if (!isLayer) return send<void>(view, "setNeedsDisplay:", true);
        finderTools.updateDesktopForce(false);
        send<void>(view, "setNeedsDisplay");
      });
}

void WVIconProvider::store(const std::string& folder, Statuses statuses) {
  std::vector<Statuses> evicted;  // destroyed after the unlock
  const MutexLock lock(lock_);
  auto& place = dictionaryForFolder_[folder];
  place.swap(statuses);
  touch(folder);
  trim(evicted);
}

void WVIconProvider::touch(const std::string& folder) {
  const auto [place, isNew] = usagePlaces_.try_emplace(folder);
  if (isNew) {
    usageList_.push_front(folder);
  } else {
    usageList_.splice(usageList_.begin(), usageList_, place->second);
  }
  place->second = usageList_.begin();
}

void WVIconProvider::trim(std::vector<Statuses>& evicted) {
  // The counter rises while the list shrinks, so one pass removes about half of the excess.
  for (std::size_t i = kMaxFolders; i < usageList_.size(); ++i) {
    const auto last =
        std::prev(usageList_.end(), static_cast<std::ptrdiff_t>(usageList_.size() - kMaxFolders));
    if (const auto found = dictionaryForFolder_.find(*last); found != dictionaryForFolder_.end()) {
      evicted.push_back(std::move(found->second));
      dictionaryForFolder_.erase(found);
    }
    usagePlaces_.erase(*last);
    usageList_.erase(last);
  }
}

void WVIconProvider::refreshEnded(const std::string& folder) {
  support_queue_->async([weak = weak_from_this(), folder] {
    const auto self = weak.lock();
    if (!self) return;
    self->args_.erase(folder);
    self->runIdleBlocksIfIdle();
  });
}

void WVIconProvider::runIdleBlocksIfIdle() {
  if (!args_.empty()) return;
  for (auto& block : std::exchange(whenIdle_, {}))
    services_.dispatch.mainQueue().async(std::move(block));
}

void WVIconProvider::performWhenIdle(platform::Block block) {
  support_queue_->async([weak = weak_from_this(), block = std::move(block)] {
    const auto self = weak.lock();
    if (!self) return;
    self->whenIdle_.push_back(block);
    self->runIdleBlocksIfIdle();
  });
}

// --- Views, switch, reset ------------------------------------------------------------------------

void WVIconProvider::setView(const Id& view, const std::optional<std::string>& forKey) {
  if (!view || !forKey) return;
  Id replaced = view;  // destroyed after the unlock: its destructor is the host's code
  const MutexLock lock(views_);
  viewForPath_[*forKey].swap(replaced);
}

void WVIconProvider::removeCell(const Id&) {}

void WVIconProvider::setTurnedOn(bool turnedOn) {
  turnedOn_ = turnedOn;
  services_.finderTools.updateWindows();
  services_.finderTools.updateDesktopForce(true);
}

void WVIconProvider::reinit() {
  support_queue_->async([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->pool()->reinit();
    self->queue_->cancelAllOperations();
    self->queue_->waitUntilAllOperationsAreFinished();
    self->clearCaches();
    self->args_.clear();
    self->runIdleBlocksIfIdle();
  });
}

void WVIconProvider::clearCaches() {
  Folders folders;
  {
    const MutexLock lock(lock_);
    folders.swap(dictionaryForFolder_);
    usageList_.clear();
    usagePlaces_.clear();
  }
  std::unordered_map<std::string, Id> views;
  {
    const MutexLock lock(views_);
    views.swap(viewForPath_);
  }
  // Release the host's objects on the main thread.
  services_.dispatch.mainQueue().async([views = std::move(views)] {});
}

}  // namespace wevora
