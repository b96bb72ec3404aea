#include "Apps/agent_sim/VolumeKeeper.h"

#include <utility>

#include "Apps/agent_sim/EventCoalescer.h"
#include "Apps/agent_sim/OwnFiles.h"
#include "Platform/Base/Strings.h"

namespace wevora::agent_sim {
namespace {

constexpr std::size_t kFoldersInBatch = 64;
/// What is written in many steps is looked at once.
constexpr std::chrono::milliseconds kMoment{100};
constexpr std::chrono::seconds kRetry{2};
constexpr std::chrono::seconds kRescanOfUnwatched{5};

std::string reasonOf(const std::error_code& failed) {
  if (failed == std::errc::no_space_on_device)
    return "the limit of watched folders (fs.inotify.max_user_watches) is reached";
  if (failed == std::errc::too_many_files_open)
    return "the limit of watching processes (fs.inotify.max_user_instances) is reached";
  return failed.message();
}

}  // namespace

void VolumeKeeper::later(std::chrono::nanoseconds time, void (VolumeKeeper::*step)()) {
  around_.dispatch.mainQueue().after(time, [weak = weak_from_this(), step] {
    if (const auto self = weak.lock()) (*self.*step)();
  });
}

void VolumeKeeper::useAccount(const std::string& account) {
  ++accounts_;
  account_ = account;
  beginAnew();
}

void VolumeKeeper::beginAnew() {
  ++begun_;
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

void VolumeKeeper::noticed(const FolderEvent& event) {
  using Kind = FolderEvent::Kind;
  if (event.kind == Kind::unmounted) return wentAway();
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
  later(kMoment, &VolumeKeeper::work);
}

void VolumeKeeper::work() {
  soon_ = false;
  if (busy_ || pauses_ > 0 || waiting_ || (dirty_.empty() && toSynchronize_.empty())) return;
  busy_ = true;
  auto slice = std::make_shared<WorkBatch>(WorkBatch{mountPoint_, account_, !prepared_,
                                                     std::exchange(toSynchronize_, {}),
                                                     dirty_.take(kFoldersInBatch)});
  around_.worker->async([slice, watch = around_.watch, &clock = around_.clock,
                         &main = around_.dispatch.mainQueue(), account = accounts_,
                         weak = weak_from_this()] {
    auto result = std::make_shared<WorkBatchResult>(runBatch(*slice, *watch, clock));
    main.async([weak, account, result] {
      if (const auto self = weak.lock()) self->finished(account, std::move(*result));
    });
  });
}

void VolumeKeeper::finished(std::uint64_t account, WorkBatchResult result) {
  busy_ = false;
  if (account != accounts_ || waiting_) return work();  // of what was before
  for (const auto& warning : result.warnings) around_.listener.warn(warning);
  if (result.failure) return failed(*result.failure);
  if (!std::exchange(prepared_, true)) around_.listener.volumeIsPrepared(mountPoint_);
  lastFailure_.clear();
  pass(result);
  dirty_.putBack(std::move(result.rest));
  for (const auto& folder : result.foldersBelow) dirty_.addDeep(folder);
  noteUnwatched(result.unwatched);
  if (dirty_.empty() && !std::exchange(scanned_, true))
    around_.listener.volumeIsScanned(mountPoint_, items_);
  work();
}

void VolumeKeeper::pass(const WorkBatchResult& result) {
  items_ += result.items;
  for (const auto& event : result.events) {
    if (event.word == kEventRemoved) around_.listener.itemIsGone(event.path, event.isFolder);
    around_.listener.itemHas(event.path, event.word);
  }
  // What comes while the agent runs has waited since now, whatever its date.
  for (const auto& file : result.waiting)
    around_.listener.fileWaits(file.path, scanned_ ? around_.clock.now() : file.date);
}

void VolumeKeeper::failed(const std::string& why) {
  if (std::exchange(lastFailure_, why) != why)
    around_.listener.warn(why + "; trying again until it works");
  if (!prepared_) around_.listener.volumeIsPrepared(mountPoint_);
  wentAway();
}

void VolumeKeeper::wentAway() {
  if (std::exchange(waiting_, true)) return;
  around_.watch->forgetBelow(mountPoint_);
  around_.listener.volumeIsGone(mountPoint_);
  around_.dispatch.mainQueue().after(kRetry, [weak = weak_from_this(), begun = begun_] {
    if (const auto self = weak.lock(); self && self->begun_ == begun) self->beginAnew();
  });
}

void VolumeKeeper::noteUnwatched(const std::vector<WorkBatchResult::Unwatched>& folders) {
  if (folders.empty()) return;
  if (!std::exchange(saidUnwatched_, true))
    around_.listener.warn(
        folders.front().folder + " cannot be watched: " + reasonOf(folders.front().reason) +
        "; what happens in it, and in " + "others like it, is found by looking every 5 s");
  if (std::exchange(rescanning_, true)) return;
  later(kRescanOfUnwatched, &VolumeKeeper::scanUnwatched);
}

void VolumeKeeper::scanUnwatched() {
  rescanning_ = false;
  scanAll();
}

}  // namespace wevora::agent_sim
