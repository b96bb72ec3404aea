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

void TestAgent::note(const char* call, std::initializer_list<Text> arguments) {
  std::string line = call;
  for (const auto& argument : arguments) line += " " + argument.value_or("none");
  calls.push_back(std::move(line));
}

std::int32_t TestAgent::connectionStatus() {
  note("connectionStatus");
  return status;
}

bool TestAgent::isServerReachable() {
  note("isServerReachable");
  return true;
}

void TestAgent::setPreviousConfiguringStatusToConfigured() {
  note("setPreviousConfiguringStatusToConfigured");
}

std::int32_t TestAgent::previousConfiguringStatus() {
  note("previousConfiguringStatus");
  return -4;
}

bool TestAgent::isConfigurationUnavailableForDeviceWithID(const Text& deviceID) {
  note("isConfigurationUnavailableForDeviceWithID:", {deviceID});
  return true;
}

Dictionary TestAgent::getFolderTreeForDeviceWithUID(const Text& deviceUID) {
  note("getFolderTreeForDeviceWithUID:", {deviceUID});
  return {{"tree", platform::Value(deviceUID.value_or(""))}};
}

void TestAgent::cancelUserAction() {
  note("cancelUserAction");
}

void TestAgent::retryUserAction() {
  note("retryUserAction");
}

void TestAgent::userNotifiedAboutWaitingOfAction() {
  note("userNotifiedAboutWaitingOfAction");
}

void TestAgent::enableBackupForDevicesWithIDs(const Array& deviceIDs,
                                              const Array& disableBackupForDevicesWithIDs,
                                              const Dictionary& setFolderTreesToBackup) {
  note("enableBackupForDevicesWithIDs:disableBackupForDevicesWithIDs:setFolderTreesToBackup:",
       {std::to_string(deviceIDs.size()), std::to_string(disableBackupForDevicesWithIDs.size()),
        std::to_string(setFolderTreesToBackup.size())});
}

std::uint64_t TestAgent::deviceConfiguringStatusAndIDOfCurrentDevice(Text& currentDevice,
                                                                     Array& arrayOfRemainDeviceIDs,
                                                                     Text& currentError) {
  note("deviceConfiguringStatusAndIDOfCurrentDevice:arrayOfRemainDeviceIDs:currentError:");
  currentDevice = "device 1";
  arrayOfRemainDeviceIDs = {"device 2", "device 3"};
  currentError.reset();
  return configuringStatus;
}

Dictionary TestAgent::commonInfo() {
  note("commonInfo");
  return {{"info", platform::Value("common")}};
}

void TestAgent::updateBandwidthOptions(const Dictionary& options) {
  note("updateBandwidthOptions:", {std::to_string(options.size())});
}

Dictionary TestAgent::currentBandwidth() {
  note("currentBandwidth");
  return {{"bandwidth", platform::Value(1.5)}};
}

Dictionary TestAgent::bandwidthOptions() {
  note("bandwidthOptions");
  return {{"options", platform::Value(true)}};
}

std::optional<WVRAccountInfo> TestAgent::accountInfo() {
  note("accountInfo");
  return account;
}

Array TestAgent::deviceList() {
  note("deviceList");
  return {Dictionary{{"id", platform::Value("device 1")}}};
}

void TestAgent::sendLog(const Text& log, std::int32_t logLevel, bool withBacktrace) {
  note("sendLog:logLevel:withBacktrace:",
       {log, std::to_string(logLevel), withBacktrace ? "YES" : "NO"});
}

Text TestAgent::lastPassword() {
  note("lastPassword");
  return std::nullopt;
}

Text TestAgent::lastLoginEmail() {
  note("lastLoginEmail");
  return "first@example.org";
}

Text TestAgent::clientVersion() {
  note("clientVersion");
  return "1.2.3";
}

void TestAgent::logout() {
  note("logout");
}

void TestAgent::loginWithEmail(const Text& email, const Text& password) {
  note("loginWithEmail:password:", {email, password});
}

void TestAgent::signUpWithFirstName(const Text& firstName, const Text& lastName, const Text& email,
                                    const Text& password) {
  note("signUpWithFirstName:lastName:email:password:", {firstName, lastName, email, password});
}

Text TestAgent::udidWithLocation(const Text& location) {
  note("udidWithLocation:", {location});
  return "udid of " + location.value_or("none");
}

void TestAgent::updateUDIDWithLocation(const Text& location) {
  note("updateUDIDWithLocation:", {location});
}

void TestAgent::performCallback(const Text& callback) {
  note("performCallback:", {callback});
}

Text TestAgent::distributedNotificationObject() {
  note("distributedNotificationObject");
  return object;
}

}  // namespace wevora::testing_host
