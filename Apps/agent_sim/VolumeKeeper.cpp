#include "Apps/agent_sim/VolumeKeeper.h"

#include <utility>

#include "Apps/agent_sim/EventCoalescer.h"
#include "Apps/agent_sim/OwnFiles.h"
#include "Platform/Base/Strings.h"

namespace wevora::agent_sim {
namespace {

constexpr std::size_t kFoldersInBatch = 64;
/// A file that is written in many steps is scanned once.
constexpr std::chrono::milliseconds kDebounce{100};
constexpr std::chrono::seconds kRetry{2};
constexpr std::chrono::seconds kRescanOfUnwatched{5};

std::string reasonOf(const std::error_code& failed) {
  if (failed == std::errc::no_space_on_device)
    return "the limit of watches is reached (raise fs.inotify.max_user_watches)";
  if (failed == std::errc::too_many_files_open)
    return "the limit of inotify instances is reached (raise fs.inotify.max_user_instances)";
  return failed.message();
}

}  // namespace

void VolumeKeeper::later(std::chrono::nanoseconds time, void (VolumeKeeper::*step)()) {
  dependencies_.dispatch.mainQueue().after(time, [weak = weak_from_this(), step] {
    if (const auto self = weak.lock()) (*self.*step)();
  });
}

void VolumeKeeper::useAccount(const std::string& account) {
  ++accounts_;
  account_ = account;
  restart();
}

void VolumeKeeper::restart() {
  ++restarts_;
  waiting_ = false;
  prepared_ = false;
  scanned_ = false;
  items_ = 0;
  toSynchronize_.clear();
  dirty_.clear();
  scanAll();
}

void VolumeKeeper::scanAll() {
  dirty_.addDeep(mountPoint_);
  work();
}

void VolumeKeeper::handleFolderEvent(const FolderEvent& event) {
  using Kind = FolderEvent::Kind;
  if (event.kind == Kind::unmounted) return handleUnmount();
  if (event.name.empty() || (event.folder == mountPoint_ && isOwnFile(event.name))) return;
  dirty_.addItem(event.folder, event.name);
  if (event.kind == Kind::folderArrived)
    dirty_.addDeep(platform::pathByAppendingComponent(event.folder, event.name));
  workSoon();
}

void VolumeKeeper::synchronize(const std::vector<std::string>& paths) {
  toSynchronize_.insert(toSynchronize_.end(), paths.begin(), paths.end());
  work();
}

void VolumeKeeper::pause(std::chrono::nanoseconds time) {
  ++pauses_;
  later(time, &VolumeKeeper::resume);
}

void VolumeKeeper::resume() {
  --pauses_;
  work();
}

void VolumeKeeper::workSoon() {
  if (std::exchange(soon_, true)) return;
  later(kDebounce, &VolumeKeeper::work);
}

void VolumeKeeper::work() {
  soon_ = false;
  if (busy_ || pauses_ > 0 || waiting_ || (dirty_.empty() && toSynchronize_.empty())) return;
  busy_ = true;
  auto batch = std::make_shared<WorkBatch>(WorkBatch{mountPoint_, account_, !prepared_,
                                                     std::exchange(toSynchronize_, {}),
                                                     dirty_.take(kFoldersInBatch)});
  dependencies_.worker->async([batch, watch = dependencies_.watch, &clock = dependencies_.clock,
                               &main = dependencies_.dispatch.mainQueue(), account = accounts_,
                               weak = weak_from_this()] {
    auto result = std::make_shared<WorkBatchResult>(runBatch(*batch, *watch, clock));
    main.async([weak, account, result] {
      if (const auto self = weak.lock()) self->finished(account, std::move(*result));
    });
  });
}

void VolumeKeeper::finished(std::uint64_t account, WorkBatchResult result) {
  busy_ = false;
  if (account != accounts_ || waiting_) return work();  // outdated result
  for (const auto& warning : result.warnings) dependencies_.listener.warn(warning);
  if (result.failure) return failed(*result.failure);
  if (!std::exchange(prepared_, true)) dependencies_.listener.volumeIsPrepared(mountPoint_);
  lastFailure_.clear();
  forward(result);
  dirty_.putBack(std::move(result.rest));
  for (const auto& folder : result.foldersBelow) dirty_.addDeep(folder);
  scheduleScanOfUnwatched(result.unwatched);
  if (dirty_.empty() && !std::exchange(scanned_, true))
    dependencies_.listener.volumeIsScanned(mountPoint_, items_);
  work();
}

void VolumeKeeper::forward(const WorkBatchResult& result) {
  items_ += result.items;
  for (const auto& event : result.events) {
    if (event.word == kEventRemoved) dependencies_.listener.itemIsGone(event.path, event.isFolder);
    dependencies_.listener.itemHas(event.path, event.word);
  }
  // A file that appears while the agent runs is pending since now, even with an older date.
  for (const auto& file : result.waiting)
    dependencies_.listener.fileWaits(file.path, scanned_ ? dependencies_.clock.now() : file.date);
}

void VolumeKeeper::failed(const std::string& why) {
  if (std::exchange(lastFailure_, why) != why)
    dependencies_.listener.warn(why + "; retrying every 2 s");
  if (!prepared_) dependencies_.listener.volumeIsPrepared(mountPoint_);
  handleUnmount();
}

void VolumeKeeper::handleUnmount() {
  if (std::exchange(waiting_, true)) return;
  dependencies_.watch->forgetBelow(mountPoint_);
  dependencies_.listener.volumeIsGone(mountPoint_);
  dependencies_.dispatch.mainQueue().after(kRetry, [weak = weak_from_this(), restarts = restarts_] {
    if (const auto self = weak.lock(); self && self->restarts_ == restarts) self->restart();
  });
}

void VolumeKeeper::scheduleScanOfUnwatched(const std::vector<WorkBatchResult::Unwatched>& folders) {
  if (folders.empty()) return;
  if (!std::exchange(warnedOfUnwatched_, true))
    dependencies_.listener.warn("cannot watch '" + folders.front().folder +
                                "': " + reasonOf(folders.front().reason) +
                                "; scanning the volume every 5 s instead");
  if (std::exchange(rescanning_, true)) return;
  later(kRescanOfUnwatched, &VolumeKeeper::scanUnwatched);
}

void VolumeKeeper::scanUnwatched() {
  rescanning_ = false;
  scanAll();
}

}  // namespace wevora::agent_sim
