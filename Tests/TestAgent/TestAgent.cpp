#include "Tests/TestAgent/TestAgent.h"

#include <utility>

namespace wevora::testing_host {

using Text = IDaemonConnection::Text;
using Dictionary = IDaemonConnection::Dictionary;
using Array = IDaemonConnection::Array;

WVRAccountInfo TestAgent::accountOf(Text clientID) {
  return WVRAccountInfo::initWithLastName("Last", "First", "first@example.org",
                                          platform::Date{1400000000.5}, true, false, 250,
                                          std::move(clientID));
}

void TestAgent::record(const char* call, std::initializer_list<Text> arguments) {
  std::string line = call;
  for (const auto& argument : arguments) line += " " + argument.value_or("none");
  calls.push_back(std::move(line));
}

std::int32_t TestAgent::connectionStatus() {
  record("connectionStatus");
  return status;
}

bool TestAgent::isServerReachable() {
  record("isServerReachable");
  return true;
}

void TestAgent::setPreviousConfiguringStatusToConfigured() {
  record("setPreviousConfiguringStatusToConfigured");
}

std::int32_t TestAgent::previousConfiguringStatus() {
  record("previousConfiguringStatus");
  return -4;
}

bool TestAgent::isConfigurationUnavailableForDeviceWithID(const Text& deviceID) {
  record("isConfigurationUnavailableForDeviceWithID:", {deviceID});
  return true;
}

Dictionary TestAgent::getFolderTreeForDeviceWithUID(const Text& deviceUID) {
  record("getFolderTreeForDeviceWithUID:", {deviceUID});
  return {{"tree", platform::Value(deviceUID.value_or(""))}};
}

void TestAgent::cancelUserAction() {
  record("cancelUserAction");
}

void TestAgent::retryUserAction() {
  record("retryUserAction");
}

void TestAgent::userNotifiedAboutWaitingOfAction() {
  record("userNotifiedAboutWaitingOfAction");
}

void TestAgent::enableBackupForDevicesWithIDs(const Array& deviceIDs,
                                              const Array& disableBackupForDevicesWithIDs,
                                              const Dictionary& setFolderTreesToBackup) {
  record("enableBackupForDevicesWithIDs:disableBackupForDevicesWithIDs:setFolderTreesToBackup:",
         {std::to_string(deviceIDs.size()), std::to_string(disableBackupForDevicesWithIDs.size()),
          std::to_string(setFolderTreesToBackup.size())});
}

std::uint64_t TestAgent::deviceConfiguringStatusAndIDOfCurrentDevice(Text& currentDevice,
                                                                     Array& arrayOfRemainDeviceIDs,
                                                                     Text& currentError) {
  record("deviceConfiguringStatusAndIDOfCurrentDevice:arrayOfRemainDeviceIDs:currentError:");
  currentDevice = "device 1";
  arrayOfRemainDeviceIDs = {"device 2", "device 3"};
  currentError.reset();
  return configuringStatus;
}

Dictionary TestAgent::commonInfo() {
  record("commonInfo");
  return {{"info", platform::Value("common")}};
}

void TestAgent::updateBandwidthOptions(const Dictionary& options) {
  record("updateBandwidthOptions:", {std::to_string(options.size())});
}

Dictionary TestAgent::currentBandwidth() {
  record("currentBandwidth");
  return {{"bandwidth", platform::Value(1.5)}};
}

Dictionary TestAgent::bandwidthOptions() {
  record("bandwidthOptions");
  return {{"options", platform::Value(true)}};
}

std::optional<WVRAccountInfo> TestAgent::accountInfo() {
  record("accountInfo");
  return account;
}

Array TestAgent::deviceList() {
  record("deviceList");
  return {Dictionary{{"id", platform::Value("device 1")}}};
}

void TestAgent::sendLog(const Text& log, std::int32_t logLevel, bool withBacktrace) {
  record("sendLog:logLevel:withBacktrace:",
         {log, std::to_string(logLevel), withBacktrace ? "YES" : "NO"});
}

Text TestAgent::lastPassword() {
  record("lastPassword");
  return std::nullopt;
}

Text TestAgent::lastLoginEmail() {
  record("lastLoginEmail");
  return "first@example.org";
}

Text TestAgent::clientVersion() {
  record("clientVersion");
  return "1.2.3";
}

void TestAgent::logout() {
  record("logout");
}

void TestAgent::loginWithEmail(const Text& email, const Text& password) {
  record("loginWithEmail:password:", {email, password});
}

void TestAgent::signUpWithFirstName(const Text& firstName, const Text& lastName, const Text& email,
                                    const Text& password) {
  record("signUpWithFirstName:lastName:email:password:", {firstName, lastName, email, password});
}

Text TestAgent::udidWithLocation(const Text& location) {
  record("udidWithLocation:", {location});
  return "udid of " + location.value_or("none");
}

void TestAgent::updateUDIDWithLocation(const Text& location) {
  record("updateUDIDWithLocation:", {location});
}

void TestAgent::performCallback(const Text& callback) {
  record("performCallback:", {callback});
}

Text TestAgent::distributedNotificationObject() {
  record("distributedNotificationObject");
  return object;
}

}  // namespace wevora::testing_host
