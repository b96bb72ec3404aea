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

/// All of the agent behind its service: the account, the volumes, the queue of files that wait,
/// and what is announced.
/// Threads: the main thread. Owns: its parts. Errors: told on the console; it goes on.
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
  /// Announces the agent, and begins to keep the volumes. False where there is nobody to tell.
  bool start();
  /// Leaves volumes alone that are about to be unmounted.
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
  void noticed(const FolderEvent& event);
  void useAccount(const std::string& account);
  void announceAccount();
  void holdOrGoOn();
  void synchronizeLater();
  void synchronizeDue();
  void letGo(const std::string& mountPoint);
  static std::optional<platform::Dissenter> unmountAsked(const platform::Disk& disk,
                                                         void* self) noexcept;

  Dependencies around_;
  Announcer announcer_;
  SimulatedAgent root_;
  SyncQueue queue_;
  std::shared_ptr<platform::Queue> worker_;
  std::shared_ptr<FolderWatch> watch_;
  std::vector<std::shared_ptr<VolumeKeeper>> keepers_;
  std::unique_ptr<platform::ApprovalSession> unmounts_;
  std::set<std::string> unprepared_;  ///< volumes whose database the new account has not yet
  bool accountChanged_ = false;       ///< and nobody was told
  bool synchronizing_ = false;        ///< a time is set
  std::set<std::string> warnings_;    ///< that were said
  std::shared_ptr<RunningAgent*> self_ = std::make_shared<RunningAgent*>(this);
};

}  // namespace wevora::agent_sim
