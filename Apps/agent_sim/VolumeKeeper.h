#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Apps/agent_sim/DirtyFolders.h"
#include "Apps/agent_sim/FolderWatch.h"
#include "Apps/agent_sim/WorkBatch.h"
#include "Platform/Base/Clock.h"
#include "Platform/Dispatch/Dispatch.h"

namespace wevora::agent_sim {

/// Who wants to know what a volume's keeper finds.
class VolumeListener {
 public:
  virtual ~VolumeListener() = default;
  virtual void itemHas(const std::string& path, const char* word) = 0;
  virtual void fileWaits(const std::string& path, platform::Date since) = 0;
  /// A folder takes with it what is below.
  virtual void itemIsGone(const std::string& path, bool isFolder) = 0;
  /// The database of the account is there, or cannot be had now.
  virtual void volumeIsPrepared(const std::string& mountPoint) = 0;
  /// The database is in step for the first time since it was prepared.
  virtual void volumeIsScanned(const std::string& mountPoint, std::size_t items) = 0;
  virtual void volumeIsGone(const std::string& mountPoint) = 0;
  virtual void warn(const std::string& text) = 0;
};

/// Keeps one volume's database in step with the volume. The work is done in short slices, one at a
/// time, between which the database is closed and the volume free; what fails is begun anew after
/// a while, and so is a volume that was away.
/// Threads: the main thread; the slices run on the worker queue.
/// Owns: what waits to be done. Errors: told as warnings.
class VolumeKeeper : public std::enable_shared_from_this<VolumeKeeper> {
 public:
  /// What it shares with the other volumes' keepers.
  struct Dependencies {
    platform::Dispatch& dispatch;
    std::shared_ptr<platform::Queue> worker;
    std::shared_ptr<FolderWatch> watch;
    const platform::Clock& clock;
    VolumeListener& listener;
  };

  VolumeKeeper(std::string mountPoint, Dependencies dependencies)
      : mountPoint_(std::move(mountPoint)), around_(std::move(dependencies)) {}

  const std::string& mountPoint() const noexcept { return mountPoint_; }
  bool isScanned() const noexcept { return scanned_; }

  /// From now on the database is that of this account; the whole volume is scanned.
  void useAccount(const std::string& account);
  void scanAll();
  void noticed(const FolderEvent& event);
  void synchronize(const std::vector<std::string>& paths);
  /// The volume is left alone for a while, so that it can be unmounted.
  void pause(std::chrono::nanoseconds time);

 private:
  void work();
  void workSoon();
  void later(std::chrono::nanoseconds time, void (VolumeKeeper::*step)());
  void finished(std::uint64_t account, WorkBatchResult result);
  void pass(const WorkBatchResult& result);
  void failed(const std::string& why);
  void beginAnew();
  void resume();
  void wentAway();
  void noteUnwatched(const std::vector<WorkBatchResult::Unwatched>& folders);
  void scanUnwatched();

  const std::string mountPoint_;
  const Dependencies around_;
  std::string account_;
  std::uint64_t accounts_ = 0;  ///< how many there were: results for an earlier one are dropped
  DirtyFolders dirty_;
  std::vector<std::string> toSynchronize_;
  std::size_t items_ = 0;
  bool busy_ = false;  ///< a slice is on its way
  bool soon_ = false;  ///< work begins in a moment
  bool prepared_ = false;
  bool scanned_ = false;
  bool waiting_ = false;  ///< to begin anew
  int begun_ = 0;         ///< how often: a wait is over when it was begun for another reason
  int pauses_ = 0;
  bool rescanning_ = false;
  bool saidUnwatched_ = false;
  std::string lastFailure_;
};

}  // namespace wevora::agent_sim
