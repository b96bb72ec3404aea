#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Connector/IDaemonConnection.h"

namespace wevora::testing_host {

/// A fake agent: returns the values that a test sets and records the calls.
class TestAgent : public IDaemonConnection {
 public:
  std::int32_t status = CONNECTION_STATUS_LOGGEDIN;
  std::uint64_t configuringStatus = 7;
  std::optional<WVRAccountInfo> account = accountOf("42");
  Text object = "agent of a test";
  std::vector<std::string> calls;

  static WVRAccountInfo accountOf(Text clientID);

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
  void record(const char* call, std::initializer_list<Text> arguments = {});
};

}  // namespace wevora::testing_host
