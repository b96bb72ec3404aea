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

/// As long as file managers leave a volume alone that is to be unmounted.
constexpr std::chrono::seconds kUnmountTime{5};
constexpr std::chrono::milliseconds kBatchTime{500};
/// An answer leaves before the process ends.
constexpr std::chrono::milliseconds kAnswerTime{100};
constexpr std::size_t kWarningsRemembered = 1000;

}  // namespace

RunningAgent::RunningAgent(const ServeOptions& options, std::string object,
                           Dependencies dependencies)
    : around_(std::move(dependencies)),
      announcer_(around_.notifications, around_.dispatch, around_.clock, object,
                 [this](const std::string& text) { warn(text); }),
      root_(options.account, options.volumes, object,
            {.post = [this](const char* name) { announcer_.post(name); },
             .statusChanged = [this] { holdOrGoOn(); },
             .log = [](const std::string& line) { say(line); }}),
      queue_(around_.clock, options.syncRate),
      worker_(around_.dispatch.serialQueue("volumes")),
      watch_(std::make_shared<FolderWatch>([this](const FolderEvent& event) { noticed(event); })) {
  for (const auto& volume : options.volumes)
    keepers_.push_back(std::make_shared<VolumeKeeper>(
        volume,
        VolumeKeeper::Dependencies{around_.dispatch, worker_, watch_, around_.clock, *this}));
}

RunningAgent::~RunningAgent() {
  if (unmounts_) unmounts_->unregisterUnmountApproval(&RunningAgent::unmountAsked, this);
}

bool RunningAgent::start() {
  const bool told = announcer_.becomeAvailable();
  useAccount(root_.accountInfo()->clientID().value_or(""));
  return told;
}

void RunningAgent::watchUnmounts(platform::UnmountApprovals& approvals) {
  if (keepers_.empty()) return;
  unmounts_ = approvals.createSession();
  if (!unmounts_) return;
  unmounts_->scheduleOnMainLoop();
  unmounts_->registerUnmountApproval(&RunningAgent::unmountAsked, this);
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
  holdOrGoOn();
  if (unprepared_.empty()) announceAccount();
}

void RunningAgent::volumeIsPrepared(const std::string& mountPoint) {
  unprepared_.erase(mountPoint);
  if (unprepared_.empty()) announceAccount();
}

/// Told when the account's databases are there. An account that changes leaves the windows of file
/// managers as they are; it is the status, asked for anew, that makes them draw.
void RunningAgent::announceAccount() {
  if (!std::exchange(accountChanged_, false)) return;
  announcer_.post(kIDaemonConnectionAccountInfoChangedNotification);
  announcer_.post(kIDaemonConnectionConnectionStatusChangedNotification);
}

void RunningAgent::postEvent(const std::string& word, const std::vector<std::string>& paths) {
  // What a person has announced is announced as it is.
  for (const auto& path : paths) announcer_.eventAsGiven(path, word);
}

void RunningAgent::quit() {
  around_.dispatch.mainQueue().after(kAnswerTime, around_.quit);
}

void RunningAgent::itemHas(const std::string& path, const char* word) {
  announcer_.event(path, word);
}

void RunningAgent::fileWaits(const std::string& path, platform::Date since) {
  queue_.add(path, since);
  synchronizeLater();
}

void RunningAgent::itemIsGone(const std::string& path, bool isFolder) {
  queue_.remove(path);
  if (isFolder) queue_.removeBelow(path);
}

void RunningAgent::volumeIsScanned(const std::string& mountPoint, std::size_t items) {
  say("scanned " + mountPoint + ", " + std::to_string(items) + " items");
  holdOrGoOn();
}

void RunningAgent::volumeIsGone(const std::string& mountPoint) {
  queue_.removeBelow(mountPoint);
}

void RunningAgent::warn(const std::string& text) {
  if (warnings_.size() > kWarningsRemembered) warnings_.clear();
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

void RunningAgent::noticed(const FolderEvent& event) {
  if (event.kind == FolderEvent::Kind::lost) {
    for (const auto& keeper : keepers_) keeper->scanAll();
  } else if (auto* keeper = keeperOf(event.folder)) {
    keeper->noticed(event);
  }
}

/// The oldest of all files cannot be known before all of them are; and without a connection nothing
/// is backed up.
void RunningAgent::holdOrGoOn() {
  bool scanned = true;
  for (const auto& keeper : keepers_) scanned = scanned && keeper->isScanned();
  queue_.hold(!scanned || root_.connectionStatus() != CONNECTION_STATUS_LOGGEDIN);
  synchronizeLater();
}

void RunningAgent::synchronizeLater() {
  const auto wait = queue_.untilDue();
  if (!wait || std::exchange(synchronizing_, true)) return;
  // Not for each file by itself where the rate is high: a batch is one write of the database.
  const auto atLeast = std::chrono::nanoseconds(std::chrono::milliseconds(100));
  around_.dispatch.mainQueue().after(std::max(*wait, atLeast), [weak = std::weak_ptr(self_)] {
    if (const auto self = weak.lock()) (*self)->synchronizeDue();
  });
}

void RunningAgent::synchronizeDue() {
  synchronizing_ = false;
  std::map<VolumeKeeper*, std::vector<std::string>> due;
  for (auto& path : queue_.take())
    if (auto* keeper = keeperOf(path)) due[keeper].push_back(std::move(path));
  for (const auto& [keeper, paths] : due) keeper->synchronize(paths);
  synchronizeLater();
}

void RunningAgent::letGo(const std::string& mountPoint) {
  for (const auto& keeper : keepers_) {
    if (keeper->mountPoint() != mountPoint) continue;
    keeper->pause(kUnmountTime);
    // The slice that runs now has the volume's database open.
    const auto ended = std::make_shared<std::promise<void>>();
    worker_->async([ended] { ended->set_value(); });
    ended->get_future().wait_for(kBatchTime);
  }
}

std::optional<platform::Dissenter> RunningAgent::unmountAsked(const platform::Disk& disk,
                                                              void* self) noexcept {
  platform::catchAll([&] {
    const auto path = disk.description.find(platform::kDiskDescriptionVolumePathKey);
    if (path != disk.description.end()) static_cast<RunningAgent*>(self)->letGo(path->second);
  });
  return std::nullopt;
}

}  // namespace wevora::agent_sim
