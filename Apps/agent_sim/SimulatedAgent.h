#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Connector/IDaemonConnection.h"

namespace wevora::agent_sim {

/// The agent's root object: one account, whose devices are the volumes.
/// Thread-safety: main thread only.
class SimulatedAgent : public IDaemonConnection {
 public:
  /// Callbacks into the rest of the agent.
  struct Hooks {
    std::function<void(const char* notification)> post;
    std::function<void()> statusChanged;
    std::function<void(const std::string& line)> log;
  };

  SimulatedAgent(std::string account, std::vector<std::string> volumes, std::string object,
                 Hooks hooks);

  void setStatus(std::int32_t status);
  /// Posts nothing: the caller announces the account when its databases exist.
  void setAccount(const std::string& account);

  std::int32_t connectionStatus() override;
  bool isServerReachable() override;
  void setPreviousConfiguringStatusToConfigured() override;
  std::int32_t previousConfiguringStatus() override;
  bool isConfigurationUnavailableForDeviceWithID(const Text& deviceID) override;
  Dictionary getFolderTreeForDeviceWithUID(const Text& deviceUID) override;
  void cancelUserAction() override;
  void retryUserAction() override;
  void userNotifiedAboutWaitingOfAction() override;
  void enableBackupForDevicesWithIDs(const Array& deviceIDs,
                                     const Array& disableBackupForDevicesWithIDs,
                                     const Dictionary& setFolderTreesToBackup) override;
  std::uint64_t deviceConfiguringStatusAndIDOfCurrentDevice(Text& currentDevice,
                                                            Array& arrayOfRemainDeviceIDs,
                                                            Text& currentError) override;
  Dictionary commonInfo() override;
  void updateBandwidthOptions(const Dictionary& options) override;
  Dictionary currentBandwidth() override;
  Dictionary bandwidthOptions() override;
  std::optional<WVRAccountInfo> accountInfo() override;
  Array deviceList() override;
  void sendLog(const Text& log, std::int32_t logLevel, bool withBacktrace) override;
  Text lastPassword() override;
  Text lastLoginEmail() override;
  Text clientVersion() override;
  void logout() override;
  void loginWithEmail(const Text& email, const Text& password) override;
  void signUpWithFirstName(const Text& firstName, const Text& lastName, const Text& email,
                           const Text& password) override;
  Text udidWithLocation(const Text& location) override;
  void updateUDIDWithLocation(const Text& location) override;
  void performCallback(const Text& callback) override;
  Text distributedNotificationObject() override;

 private:
  /// A volume, by its mount point.
  struct Device {
    bool enabled = true;
    Dictionary folderTree;
  };
  void enable(const Array& deviceIDs, bool enabled);

  const std::string object_;
  const Hooks hooks_;
  WVRAccountInfo account_;
  std::map<std::string, Device> devices_;
  std::int32_t status_ = CONNECTION_STATUS_LOGGEDIN;
  std::int32_t previousConfiguringStatus_ = 0;
  Dictionary bandwidthOptions_;
  std::map<std::string, std::string> udids_;
};

}  // namespace wevora::agent_sim
