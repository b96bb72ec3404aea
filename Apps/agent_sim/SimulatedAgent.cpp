#include "Apps/agent_sim/SimulatedAgent.h"

#include <utility>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "Platform/Base/Strings.h"
#include "Platform/Base/Version.h"

namespace wevora::agent_sim {

using Array = IDaemonConnection::Array;
using Dictionary = IDaemonConnection::Dictionary;
using Text = IDaemonConnection::Text;

namespace {

constexpr std::int64_t kPlanSizeGB = 100;
constexpr platform::Date kSignupDate{1'388'534'400};  // 2014-01-01
constexpr const char* kLimitUploadKey = "limitUpload";
constexpr const char* kUploadKey = "uploadBytesPerSecond";

WVRAccountInfo accountOf(Text firstName, Text lastName, Text email, Text clientID) {
  return WVRAccountInfo::initWithLastName(std::move(lastName), std::move(firstName),
                                          std::move(email), kSignupDate, false, false, kPlanSizeGB,
                                          std::move(clientID));
}

}  // namespace

SimulatedAgent::SimulatedAgent(std::string account, std::vector<std::string> volumes,
                               std::string object, Hooks hooks)
    : object_(std::move(object)),
      hooks_(std::move(hooks)),
      account_(accountOf("Stand-in", "Account", "account@example.org", std::move(account))),
      bandwidthOptions_{{kLimitUploadKey, false}, {kUploadKey, std::int64_t{0}}} {
  for (const auto& volume : volumes) devices_[volume].folderTree.set("path", volume);
}

void SimulatedAgent::setStatus(std::int32_t status) {
  status_ = status;
  hooks_.statusChanged();
  hooks_.post(kIDaemonConnectionConnectionStatusChangedNotification);
}

void SimulatedAgent::setAccount(const std::string& account) {
  account_ = accountOf(account_.firstName(), account_.lastName(), account_.email(), account);
}

std::int32_t SimulatedAgent::connectionStatus() {
  return status_;
}

bool SimulatedAgent::isServerReachable() {
  return true;
}

void SimulatedAgent::setPreviousConfiguringStatusToConfigured() {
  previousConfiguringStatus_ = 0;
  hooks_.post(kIDaemonConnectionDevicePreviousConfiguringStatusChangedNotification);
}

std::int32_t SimulatedAgent::previousConfiguringStatus() {
  return previousConfiguringStatus_;
}

bool SimulatedAgent::isConfigurationUnavailableForDeviceWithID(const Text& deviceID) {
  return !devices_.contains(deviceID.value_or(""));
}

Dictionary SimulatedAgent::getFolderTreeForDeviceWithUID(const Text& deviceUID) {
  const auto device = devices_.find(deviceUID.value_or(""));
  return device == devices_.end() ? Dictionary() : device->second.folderTree;
}

// The agent has no actions that wait for the user.
void SimulatedAgent::cancelUserAction() {}
void SimulatedAgent::retryUserAction() {}
void SimulatedAgent::userNotifiedAboutWaitingOfAction() {}

void SimulatedAgent::enable(const Array& deviceIDs, bool enabled) {
  for (const auto& id : deviceIDs) {
    const auto* text = id.as<std::string>();
    const auto device = text == nullptr ? devices_.end() : devices_.find(*text);
    if (device != devices_.end()) device->second.enabled = enabled;
  }
}

void SimulatedAgent::enableBackupForDevicesWithIDs(const Array& deviceIDs,
                                                   const Array& disableBackupForDevicesWithIDs,
                                                   const Dictionary& setFolderTreesToBackup) {
  enable(deviceIDs, true);
  enable(disableBackupForDevicesWithIDs, false);
  for (const auto& [id, tree] : setFolderTreesToBackup) {
    const auto device = devices_.find(id);
    const auto* entries = tree.as<Dictionary>();
    if (device != devices_.end() && entries != nullptr) device->second.folderTree = *entries;
  }
  hooks_.post(kIDaemonConnectionDeviceListChangedNotification);
}

std::uint64_t SimulatedAgent::deviceConfiguringStatusAndIDOfCurrentDevice(
    Text& currentDevice, Array& arrayOfRemainDeviceIDs, Text& currentError) {
  // Nothing is being configured.
  currentDevice.reset();
  arrayOfRemainDeviceIDs.clear();
  currentError.reset();
  return 0;
}

Dictionary SimulatedAgent::commonInfo() {
  return {{"clientVersion", std::string(platform::productVersion())},
          {"connectionStatus", daemonConnectionStatusLabel(status_)},
          {"devices", static_cast<std::int64_t>(devices_.size())}};
}

void SimulatedAgent::updateBandwidthOptions(const Dictionary& options) {
  for (const auto& [key, value] : options) bandwidthOptions_.set(key, value);
  hooks_.post(kIDaemonConnectionBandwidthOptionsChangedNotification);
}

Dictionary SimulatedAgent::currentBandwidth() {
  return {{kUploadKey, std::int64_t{0}}};  // nothing is uploaded
}

Dictionary SimulatedAgent::bandwidthOptions() {
  return bandwidthOptions_;
}

std::optional<WVRAccountInfo> SimulatedAgent::accountInfo() {
  return account_;
}

Array SimulatedAgent::deviceList() {
  Array list;
  for (const auto& [mountPoint, device] : devices_)
    list.push_back(Dictionary{{"id", mountPoint},
                              {"name", std::string(platform::lastPathComponent(mountPoint))},
                              {"enabled", device.enabled}});
  return list;
}

void SimulatedAgent::sendLog(const Text& log, std::int32_t logLevel, bool withBacktrace) {
  // The backtrace of another process is not available here.
  hooks_.log("log " + std::to_string(logLevel) + (withBacktrace ? " (backtrace)" : "") + ": " +
             log.value_or(""));
}

Text SimulatedAgent::lastPassword() {
  return std::nullopt;  // passwords are not stored
}

Text SimulatedAgent::lastLoginEmail() {
  return account_.email();
}

Text SimulatedAgent::clientVersion() {
  return std::string(platform::productVersion());
}

void SimulatedAgent::logout() {
  setStatus(CONNECTION_STATUS_DID_NOT_LOGGEDIN);
}

void SimulatedAgent::loginWithEmail(const Text& email, const Text& /*password*/) {
  account_ = accountOf(account_.firstName(), account_.lastName(), email, account_.clientID());
  setStatus(CONNECTION_STATUS_LOGIN_IN_PROGRESS);
  setStatus(CONNECTION_STATUS_LOGGEDIN);
}

void SimulatedAgent::signUpWithFirstName(const Text& firstName, const Text& lastName,
                                         const Text& email, const Text& password) {
  account_ = accountOf(firstName, lastName, email, account_.clientID());
  hooks_.post(kIDaemonConnectionAccountInfoChangedNotification);
  loginWithEmail(email, password);
}

Text SimulatedAgent::udidWithLocation(const Text& location) {
  auto& udid = udids_[location.value_or("")];
  if (udid.empty()) udid = WVRFileTools::getUUID();
  return udid;
}

void SimulatedAgent::updateUDIDWithLocation(const Text& location) {
  udids_[location.value_or("")] = WVRFileTools::getUUID();
  hooks_.post(kIDaemonConnectionAutoLoginUDIDChangedNotification);
}

void SimulatedAgent::performCallback(const Text& /*callback*/) {
}  // the agent requests no callbacks

Text SimulatedAgent::distributedNotificationObject() {
  return object_;
}

}  // namespace wevora::agent_sim
