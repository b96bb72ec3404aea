#include "Connector/DaemonConnectionProxy.h"

#include <utility>

namespace wevora {
namespace {

using platform::Array;
using platform::Dictionary;
using platform::Value;
using Text = IDaemonConnection::Text;

Value sent(const Text& text) {
  return text.value_or("");
}

Text textIn(const Value& value) {
  const auto* text = value.as<std::string>();
  return text == nullptr || text->empty() ? std::nullopt : Text(*text);
}

template <class T>
T valueOrEmpty(const Value& value) {
  const auto* typed = value.as<T>();
  return typed == nullptr ? T() : *typed;
}

class DaemonConnectionProxy : public IDaemonConnection {
 public:
  explicit DaemonConnectionProxy(std::shared_ptr<platform::RootProxy> rootProxy)
      : root_(std::move(rootProxy)) {}

  std::int32_t connectionStatus() override { return integer("connectionStatus"); }
  bool isServerReachable() override { return result("isServerReachable").boolValue(); }
  void setPreviousConfiguringStatusToConfigured() override {
    result("setPreviousConfiguringStatusToConfigured");
  }
  std::int32_t previousConfiguringStatus() override { return integer("previousConfiguringStatus"); }
  bool isConfigurationUnavailableForDeviceWithID(const Text& deviceID) override {
    return result("isConfigurationUnavailableForDeviceWithID_", {sent(deviceID)}).boolValue();
  }
  Dictionary getFolderTreeForDeviceWithUID(const Text& deviceUID) override {
    return valueOrEmpty<Dictionary>(result("getFolderTreeForDeviceWithUID_", {sent(deviceUID)}));
  }
  void cancelUserAction() override { result("cancelUserAction"); }
  void retryUserAction() override { result("retryUserAction"); }
  void userNotifiedAboutWaitingOfAction() override { result("userNotifiedAboutWaitingOfAction"); }
  void enableBackupForDevicesWithIDs(const Array& deviceIDs,
                                     const Array& disableBackupForDevicesWithIDs,
                                     const Dictionary& setFolderTreesToBackup) override {
    result("enableBackupForDevicesWithIDs_disableBackupForDevicesWithIDs_setFolderTreesToBackup_",
           {deviceIDs, disableBackupForDevicesWithIDs, setFolderTreesToBackup});
  }
  std::uint64_t deviceConfiguringStatusAndIDOfCurrentDevice(Text& currentDevice,
                                                            Array& arrayOfRemainDeviceIDs,
                                                            Text& currentError) override {
    const auto results = call(
        "deviceConfiguringStatusAndIDOfCurrentDevice_arrayOfRemainDeviceIDs_currentError_", {});
    if (results.size() != 4) return 0;
    currentDevice = textIn(results[1]);
    arrayOfRemainDeviceIDs = valueOrEmpty<Array>(results[2]);
    currentError = textIn(results[3]);
    return results[0].unsignedLongLongValue();
  }
  Dictionary commonInfo() override { return valueOrEmpty<Dictionary>(result("commonInfo")); }
  void updateBandwidthOptions(const Dictionary& options) override {
    result("updateBandwidthOptions_", {options});
  }
  Dictionary currentBandwidth() override {
    return valueOrEmpty<Dictionary>(result("currentBandwidth"));
  }
  Dictionary bandwidthOptions() override {
    return valueOrEmpty<Dictionary>(result("bandwidthOptions"));
  }
  std::optional<WVRAccountInfo> accountInfo() override {
    auto entries = valueOrEmpty<Dictionary>(result("accountInfo"));
    if (entries.empty()) return std::nullopt;  // an absent record is sent as an empty dictionary
    Coder coder{Value(std::move(entries))};
    return WVRAccountInfo::initWithCoder(coder);
  }
  Array deviceList() override { return valueOrEmpty<Array>(result("deviceList")); }
  void sendLog(const Text& log, std::int32_t logLevel, bool withBacktrace) override {
    result("sendLog_logLevel_withBacktrace_", {sent(log), std::int64_t{logLevel}, withBacktrace});
  }
  Text lastPassword() override { return textIn(result("lastPassword")); }
  Text lastLoginEmail() override { return textIn(result("lastLoginEmail")); }
  Text clientVersion() override { return textIn(result("clientVersion")); }
  void logout() override { result("logout"); }
  void loginWithEmail(const Text& email, const Text& password) override {
    result("loginWithEmail_password_", {sent(email), sent(password)});
  }
  void signUpWithFirstName(const Text& firstName, const Text& lastName, const Text& email,
                           const Text& password) override {
    result("signUpWithFirstName_lastName_email_password_",
           {sent(firstName), sent(lastName), sent(email), sent(password)});
  }
  Text udidWithLocation(const Text& location) override {
    return textIn(result("udidWithLocation_", {sent(location)}));
  }
  void updateUDIDWithLocation(const Text& location) override {
    result("updateUDIDWithLocation_", {sent(location)});
  }
  void performCallback(const Text& callback) override {
    result("performCallback_", {sent(callback)});
  }
  Text distributedNotificationObject() override {
    return textIn(result("distributedNotificationObject"));
  }

 private:
  Array call(const char* method, const Array& arguments) {
    return root_->call(daemonConnectionProtocol(), method, arguments).value_or(Array());
  }
  Value result(const char* method, const Array& arguments = {}) {
    const auto results = call(method, arguments);
    return results.empty() ? Value(false) : results.front();
  }
  std::int32_t integer(const char* method) {
    return static_cast<std::int32_t>(result(method).longLongValue());
  }

  std::shared_ptr<platform::RootProxy> root_;
};

}  // namespace

std::shared_ptr<IDaemonConnection> daemonConnectionOver(
    std::shared_ptr<platform::RootProxy> rootProxy) {
  return std::make_shared<DaemonConnectionProxy>(std::move(rootProxy));
}

}  // namespace wevora
