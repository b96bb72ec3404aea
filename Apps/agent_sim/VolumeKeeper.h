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

/// Receives what a VolumeKeeper finds.
class VolumeListener {
 public:
  virtual ~VolumeListener() = default;
  virtual void itemHas(const std::string& path, const char* word) = 0;
  virtual void fileWaits(const std::string& path, platform::Date since) = 0;
  /// For a folder, everything below it is gone too.
  virtual void itemIsGone(const std::string& path, bool isFolder) = 0;
  /// The database of the account exists, or the first attempt to create it failed.
  virtual void volumeIsPrepared(const std::string& mountPoint) = 0;
  /// The database is complete for the first time since it was prepared.
  virtual void volumeIsScanned(const std::string& mountPoint, std::size_t items) = 0;
  virtual void volumeIsGone(const std::string& mountPoint) = 0;
  virtual void warn(const std::string& text) = 0;
};

/// Synchronizes one volume's database with the volume. The work is done in short batches, one at a
/// time; between them the database is closed, so that the volume can be unmounted. After a failure,
/// or when the volume was unmounted, it retries with a scan of the whole volume.
/// Thread-safety: main thread only; the batches run on the worker queue.
/// Errors: reported as warnings.
class VolumeKeeper : public std::enable_shared_from_this<VolumeKeeper> {
 public:
  struct Dependencies {
    platform::Dispatch& dispatch;
    std::shared_ptr<platform::Queue> worker;
    std::shared_ptr<FolderWatch> watch;
    const platform::Clock& clock;
    VolumeListener& listener;
  };

  VolumeKeeper(std::string mountPoint, Dependencies dependencies)
      : mountPoint_(std::move(mountPoint)), dependencies_(std::move(dependencies)) {}

  const std::string& mountPoint() const noexcept { return mountPoint_; }
  bool isScanned() const noexcept { return scanned_; }

  /// Switches to the database of this account, and scans the whole volume.
  void useAccount(const std::string& account);
  void scanAll();
  void handleFolderEvent(const FolderEvent& event);
  void synchronize(const std::vector<std::string>& paths);
  /// Starts no batch for a while, so that the volume can be unmounted.
  void pause(std::chrono::nanoseconds time);

 private:
  void work();
  void workSoon();
  void later(std::chrono::nanoseconds time, void (VolumeKeeper::*step)());
  void finished(std::uint64_t account, WorkBatchResult result);
  void forward(const WorkBatchResult& result);
  void failed(const std::string& why);
  void restart();
  void resume();
  void handleUnmount();
  void scheduleScanOfUnwatched(const std::vector<WorkBatchResult::Unwatched>& folders);
  void scanUnwatched();

  const std::string mountPoint_;
  const Dependencies dependencies_;
  std::string account_;
  std::uint64_t accounts_ = 0;  ///< number of useAccount calls: results of earlier ones are dropped
  DirtyFolders dirty_;
  std::vector<std::string> toSynchronize_;
  std::size_t items_ = 0;
  bool busy_ = false;  ///< a batch is queued or running
  bool soon_ = false;  ///< `work` is scheduled
  bool prepared_ = false;
  bool scanned_ = false;
  bool waiting_ = false;  ///< a restart is scheduled
  int restarts_ = 0;      ///< a scheduled restart is dropped when another came first
  int pauses_ = 0;
  bool rescanning_ = false;
  bool warnedOfUnwatched_ = false;
  std::string lastFailure_;
};

}  // namespace wevora::agent_sim
