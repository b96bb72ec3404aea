#include "Apps/agent_sim/RunningAgent.h"

#include <algorithm>
#include <future>
#include <map>
#include <utility>

#include "Apps/agent_sim/Console.h"
#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Guard.h"

namespace wevora::agent_sim {
namespace {

/// Equal to the time for which file managers release a volume that is to be unmounted.
constexpr std::chrono::seconds kUnmountTime{5};
constexpr std::chrono::milliseconds kBatchTime{500};
/// Lets the reply to `quit` leave before the process exits.
constexpr std::chrono::milliseconds kReplyTime{100};
constexpr std::size_t kMaximalWarnings = 1000;

}  // namespace

RunningAgent::RunningAgent(const ServeOptions& options, std::string object,
                           Dependencies dependencies)
    : dependencies_(std::move(dependencies)),
      announcer_(dependencies_.notifications, dependencies_.dispatch, dependencies_.clock, object,
                 [this](const std::string& text) { warn(text); }),
      root_(options.account, options.volumes, object,
            {.post = [this](const char* name) { announcer_.post(name); },
             .statusChanged = [this] { updateHold(); },
             .log = [](const std::string& line) { say(line); }}),
      queue_(dependencies_.clock, options.syncRate),
      worker_(dependencies_.dispatch.serialQueue("volumes")),
      watch_(std::make_shared<FolderWatch>(
          [this](const FolderEvent& event) { handleFolderEvent(event); })) {
  for (const auto& volume : options.volumes)
    keepers_.push_back(std::make_shared<VolumeKeeper>(
        volume, VolumeKeeper::Dependencies{dependencies_.dispatch, worker_, watch_,
                                           dependencies_.clock, *this}));
}

RunningAgent::~RunningAgent() {
  if (unmounts_) unmounts_->unregisterUnmountApproval(&RunningAgent::onUnmountRequest, this);
}

bool RunningAgent::start() {
  const bool announced = announcer_.becomeAvailable();
  useAccount(root_.accountInfo()->clientID().value_or(""));
  return announced;
}

void RunningAgent::watchUnmounts(platform::UnmountApprovals& approvals) {
  if (keepers_.empty()) return;
  unmounts_ = approvals.createSession();
  if (!unmounts_) return;
  unmounts_->scheduleOnMainLoop();
  unmounts_->registerUnmountApproval(&RunningAgent::onUnmountRequest, this);
}

void RunningAgent::setStatus(std::int32_t status) {
  root_.setStatus(status);
}

void RunningAgent::setAccount(const std::string& account) {
  root_.setAccount(account);
  accountChanged_ = true;
  useAccount(account);
}

void RunningAgent::useAccount(const std::string& account) {
  unprepared_.clear();
  for (const auto& keeper : keepers_) unprepared_.insert(keeper->mountPoint());
  queue_.clear();
  for (const auto& keeper : keepers_) keeper->useAccount(account);
  updateHold();
  if (unprepared_.empty()) announceAccount();
}

void RunningAgent::volumeIsPrepared(const std::string& mountPoint) {
  unprepared_.erase(mountPoint);
  if (unprepared_.empty()) announceAccount();
}

/// Called when all databases of the account exist. File managers do not redraw for a changed
/// account, only for a changed status; so both are posted.
void RunningAgent::announceAccount() {
  if (!std::exchange(accountChanged_, false)) return;
  announcer_.post(kIDaemonConnectionAccountInfoChangedNotification);
  announcer_.post(kIDaemonConnectionConnectionStatusChangedNotification);
}

void RunningAgent::postEvent(const std::string& word, const std::vector<std::string>& paths) {
  for (const auto& path : paths) announcer_.eventAsGiven(path, word);
}

void RunningAgent::quit() {
  dependencies_.dispatch.mainQueue().after(kReplyTime, dependencies_.quit);
}

void RunningAgent::itemHas(const std::string& path, const char* word) {
  announcer_.event(path, word);
}

void RunningAgent::fileWaits(const std::string& path, platform::Date since) {
  queue_.add(path, since);
  scheduleSynchronize();
}

void RunningAgent::itemIsGone(const std::string& path, bool isFolder) {
  queue_.remove(path);
  if (isFolder) queue_.removeBelow(path);
}

void RunningAgent::volumeIsScanned(const std::string& mountPoint, std::size_t items) {
  say("scanned " + mountPoint + ", " + std::to_string(items) + " items");
  updateHold();
}

void RunningAgent::volumeIsGone(const std::string& mountPoint) {
  queue_.removeBelow(mountPoint);
}

void RunningAgent::warn(const std::string& text) {
  if (warnings_.size() > kMaximalWarnings) warnings_.clear();
  if (warnings_.insert(text).second) complain(text);
}

VolumeKeeper* RunningAgent::keeperOf(const std::string& path) {
  VolumeKeeper* innermost = nullptr;
  for (const auto& keeper : keepers_)
    if (WVRFileTools::filePathBelongsToDirectoryAtPath(path, keeper->mountPoint()) &&
        (innermost == nullptr || keeper->mountPoint().size() > innermost->mountPoint().size()))
      innermost = keeper.get();
  return innermost;
}

void RunningAgent::handleFolderEvent(const FolderEvent& event) {
  if (event.kind == FolderEvent::Kind::lost) {
    for (const auto& keeper : keepers_) keeper->scanAll();
  } else if (auto* keeper = keeperOf(event.folder)) {
    keeper->handleFolderEvent(event);
  }
}

/// Nothing is backed up before every volume is scanned, as the oldest file is backed up first, nor
/// while the agent is not logged in.
void RunningAgent::updateHold() {
  bool scanned = true;
  for (const auto& keeper : keepers_) scanned = scanned && keeper->isScanned();
  queue_.hold(!scanned || root_.connectionStatus() != CONNECTION_STATUS_LOGGEDIN);
  scheduleSynchronize();
}

void RunningAgent::scheduleSynchronize() {
  const auto wait = queue_.untilDue();
  if (!wait || std::exchange(synchronizing_, true)) return;
  // At a high rate several files share one database transaction.
  const auto atLeast = std::chrono::nanoseconds(std::chrono::milliseconds(100));
  dependencies_.dispatch.mainQueue().after(std::max(*wait, atLeast), [weak = std::weak_ptr(self_)] {
    if (const auto self = weak.lock()) (*self)->synchronizeDue();
  });
}

void RunningAgent::synchronizeDue() {
  synchronizing_ = false;
  std::map<VolumeKeeper*, std::vector<std::string>> due;
  for (auto& path : queue_.take())
    if (auto* keeper = keeperOf(path)) due[keeper].push_back(std::move(path));
  for (const auto& [keeper, paths] : due) keeper->synchronize(paths);
  scheduleSynchronize();
}

void RunningAgent::releaseVolume(const std::string& mountPoint) {
  for (const auto& keeper : keepers_) {
    if (keeper->mountPoint() != mountPoint) continue;
    keeper->pause(kUnmountTime);
    // The batch that is running has the database open.
    const auto ended = std::make_shared<std::promise<void>>();
    worker_->async([ended] { ended->set_value(); });
    ended->get_future().wait_for(kBatchTime);
  }
}

std::optional<platform::Dissenter> RunningAgent::onUnmountRequest(const platform::Disk& disk,
                                                                  void* self) noexcept {
  platform::catchAll([&] {
    const auto path = disk.description.find(platform::kDiskDescriptionVolumePathKey);
    if (path != disk.description.end())
      static_cast<RunningAgent*>(self)->releaseVolume(path->second);
  });
  return std::nullopt;
}

}  // namespace wevora::agent_sim
