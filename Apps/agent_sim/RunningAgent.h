#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Apps/agent_sim/AgentOptions.h"
#include "Apps/agent_sim/Announcer.h"
#include "Apps/agent_sim/Control.h"
#include "Apps/agent_sim/FolderWatch.h"
#include "Apps/agent_sim/SimulatedAgent.h"
#include "Apps/agent_sim/SyncQueue.h"
#include "Apps/agent_sim/VolumeKeeper.h"
#include "Platform/Volumes/UnmountApproval.h"

namespace wevora::agent_sim {

/// The agent behind its service: the account, the volumes, the queue of pending files, and the
/// notifications.
/// Thread-safety: main thread only.
/// Errors: printed on the console; the agent continues.
class RunningAgent : public VolumeListener, public Controlled {
 public:
  struct Dependencies {
    platform::Dispatch& dispatch;
    const platform::Clock& clock;
    platform::DistributedNotificationCenter& notifications;
    std::function<void()> quit;
  };

  RunningAgent(const ServeOptions& options, std::string object, Dependencies dependencies);
  ~RunningAgent() override;
  RunningAgent(const RunningAgent&) = delete;
  RunningAgent& operator=(const RunningAgent&) = delete;

  IDaemonConnection& rootObject() noexcept { return root_; }
  /// Announces the agent, and starts to follow the volumes. Returns false without a session bus.
  bool start();
  /// Closes the database of a volume that is about to be unmounted, and pauses its keeper.
  void watchUnmounts(platform::UnmountApprovals& approvals);

  void setStatus(std::int32_t status) override;
  void setAccount(const std::string& account) override;
  void postEvent(const std::string& word, const std::vector<std::string>& paths) override;
  void quit() override;

  void itemHas(const std::string& path, const char* word) override;
  void fileWaits(const std::string& path, platform::Date since) override;
  void itemIsGone(const std::string& path, bool isFolder) override;
  void volumeIsPrepared(const std::string& mountPoint) override;
  void volumeIsScanned(const std::string& mountPoint, std::size_t items) override;
  void volumeIsGone(const std::string& mountPoint) override;
  void warn(const std::string& text) override;

 private:
  VolumeKeeper* keeperOf(const std::string& path);
  void handleFolderEvent(const FolderEvent& event);
  void useAccount(const std::string& account);
  void announceAccount();
  void updateHold();
  void scheduleSynchronize();
  void synchronizeDue();
  void releaseVolume(const std::string& mountPoint);
  static std::optional<platform::Dissenter> onUnmountRequest(const platform::Disk& disk,
                                                             void* self) noexcept;

  Dependencies dependencies_;
  Announcer announcer_;
  SimulatedAgent root_;
  SyncQueue queue_;
  std::shared_ptr<platform::Queue> worker_;
  std::shared_ptr<FolderWatch> watch_;
  std::vector<std::shared_ptr<VolumeKeeper>> keepers_;
  std::unique_ptr<platform::ApprovalSession> unmounts_;
  std::set<std::string> unprepared_;  ///< volumes without a database of the new account
  bool accountChanged_ = false;       ///< not announced yet
  bool synchronizing_ = false;        ///< synchronizeDue is scheduled
  std::set<std::string> warnings_;    ///< already printed
  std::shared_ptr<RunningAgent*> self_ = std::make_shared<RunningAgent*>(this);
};

}  // namespace wevora::agent_sim
