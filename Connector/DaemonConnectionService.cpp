#include "Connector/DaemonConnectionService.h"

#include <functional>
#include <map>
#include <utility>

namespace wevora {
namespace {

using platform::Array;
using platform::Dictionary;
using platform::Value;
using Text = IDaemonConnection::Text;

/// The arguments of a call, by position.
/// Errors: an argument of another type reads as an empty value.
class Arguments {
 public:
  explicit Arguments(const Array& all) : all_(all) {}
  std::size_t count() const { return all_.size(); }
  Text text(std::size_t i) const {
    auto text = valueOrEmpty<std::string>(i);
    return text.empty() ? std::nullopt : Text(std::move(text));
  }
  Array array(std::size_t i) const { return valueOrEmpty<Array>(i); }
  Dictionary entries(std::size_t i) const { return valueOrEmpty<Dictionary>(i); }
  std::int32_t integer(std::size_t i) const {
    return static_cast<std::int32_t>(all_[i].longLongValue());
  }
  bool flag(std::size_t i) const { return all_[i].boolValue(); }

 private:
  template <class T>
  T valueOrEmpty(std::size_t i) const {
    const auto* typed = all_[i].as<T>();
    return typed == nullptr ? T() : *typed;
  }
  const Array& all_;
};

Value sent(const Text& text) {
  return text.value_or("");
}

/// The record by value, as its method declares it.
Dictionary sent(const std::optional<WVRAccountInfo>& record) {
  const auto* copied =
      record ? record->replacementObjectForPortCoder(PortCoder{.isBycopy = true}) : nullptr;
  if (copied == nullptr) return {};
  Coder coder;
  copied->encodeWithCoder(coder);
  return *coder.objects().front().as<Dictionary>();
}

struct Method {
  std::size_t arguments;
  std::function<Array(IDaemonConnection&, const Arguments&)> invoke;
};

using Agent = IDaemonConnection&;
using Args = const Arguments&;

void addStatusMethods(std::map<std::string, Method>& methods) {
  methods["connectionStatus"] = {
      0, [](Agent a, Args) { return Array{std::int64_t{a.connectionStatus()}}; }};
  methods["isServerReachable"] = {0, [](Agent a, Args) { return Array{a.isServerReachable()}; }};
  methods["setPreviousConfiguringStatusToConfigured"] = {
      0, [](Agent a, Args) {
        a.setPreviousConfiguringStatusToConfigured();
        return Array();
      }};
  methods["previousConfiguringStatus"] = {
      0, [](Agent a, Args) { return Array{std::int64_t{a.previousConfiguringStatus()}}; }};
  methods["commonInfo"] = {0, [](Agent a, Args) { return Array{Value(a.commonInfo())}; }};
  methods["clientVersion"] = {0, [](Agent a, Args) { return Array{sent(a.clientVersion())}; }};
  methods["distributedNotificationObject"] = {
      0, [](Agent a, Args) { return Array{sent(a.distributedNotificationObject())}; }};
  methods["sendLog_logLevel_withBacktrace_"] = {3, [](Agent a, Args args) {
                                                  a.sendLog(args.text(0), args.integer(1),
                                                            args.flag(2));
                                                  return Array();
                                                }};
  methods["performCallback_"] = {1, [](Agent a, Args args) {
                                   a.performCallback(args.text(0));
                                   return Array();
                                 }};
}

void addDeviceMethods(std::map<std::string, Method>& methods) {
  methods["isConfigurationUnavailableForDeviceWithID_"] = {
      1, [](Agent a, Args args) {
        return Array{a.isConfigurationUnavailableForDeviceWithID(args.text(0))};
      }};
  methods["getFolderTreeForDeviceWithUID_"] = {
      1, [](Agent a, Args args) {
        return Array{Value(a.getFolderTreeForDeviceWithUID(args.text(0)))};
      }};
  methods["enableBackupForDevicesWithIDs_disableBackupForDevicesWithIDs_setFolderTreesToBackup_"] =
      {3, [](Agent a, Args args) {
         a.enableBackupForDevicesWithIDs(args.array(0), args.array(1), args.entries(2));
         return Array();
       }};
  methods["deviceConfiguringStatusAndIDOfCurrentDevice_arrayOfRemainDeviceIDs_currentError_"] = {
      0, [](Agent a, Args) {
        Text device;
        Array remaining;
        Text error;
        const auto status = a.deviceConfiguringStatusAndIDOfCurrentDevice(device, remaining, error);
        return Array{Value(status), sent(device), remaining, sent(error)};
      }};
  methods["deviceList"] = {0, [](Agent a, Args) { return Array{Value(a.deviceList())}; }};
  methods["udidWithLocation_"] = {
      1, [](Agent a, Args args) { return Array{sent(a.udidWithLocation(args.text(0)))}; }};
  methods["updateUDIDWithLocation_"] = {1, [](Agent a, Args args) {
                                          a.updateUDIDWithLocation(args.text(0));
                                          return Array();
                                        }};
}

void addActionMethods(std::map<std::string, Method>& methods) {
  methods["cancelUserAction"] = {0, [](Agent a, Args) {
                                   a.cancelUserAction();
                                   return Array();
                                 }};
  methods["retryUserAction"] = {0, [](Agent a, Args) {
                                  a.retryUserAction();
                                  return Array();
                                }};
  methods["userNotifiedAboutWaitingOfAction"] = {0, [](Agent a, Args) {
                                                   a.userNotifiedAboutWaitingOfAction();
                                                   return Array();
                                                 }};
  methods["updateBandwidthOptions_"] = {1, [](Agent a, Args args) {
                                          a.updateBandwidthOptions(args.entries(0));
                                          return Array();
                                        }};
  methods["currentBandwidth"] = {0,
                                 [](Agent a, Args) { return Array{Value(a.currentBandwidth())}; }};
  methods["bandwidthOptions"] = {0,
                                 [](Agent a, Args) { return Array{Value(a.bandwidthOptions())}; }};
}

void addAccountMethods(std::map<std::string, Method>& methods) {
  methods["accountInfo"] = {0, [](Agent a, Args) { return Array{Value(sent(a.accountInfo()))}; }};
  methods["lastPassword"] = {0, [](Agent a, Args) { return Array{sent(a.lastPassword())}; }};
  methods["lastLoginEmail"] = {0, [](Agent a, Args) { return Array{sent(a.lastLoginEmail())}; }};
  methods["logout"] = {0, [](Agent a, Args) {
                         a.logout();
                         return Array();
                       }};
  methods["loginWithEmail_password_"] = {2, [](Agent a, Args args) {
                                           a.loginWithEmail(args.text(0), args.text(1));
                                           return Array();
                                         }};
  methods["signUpWithFirstName_lastName_email_password_"] = {
      4, [](Agent a, Args args) {
        a.signUpWithFirstName(args.text(0), args.text(1), args.text(2), args.text(3));
        return Array();
      }};
}

const std::map<std::string, Method>& methodsByName() {
  static const auto methods = [] {
    std::map<std::string, Method> made;
    addStatusMethods(made);
    addDeviceMethods(made);
    addActionMethods(made);
    addAccountMethods(made);
    return made;
  }();
  return methods;
}

}  // namespace

std::optional<Array> callDaemonConnection(IDaemonConnection& agent, const std::string& method,
                                          const Array& arguments) {
  const auto place = methodsByName().find(method);
  if (place == methodsByName().end() || place->second.arguments != arguments.size())
    return std::nullopt;
  return place->second.invoke(agent, Arguments(arguments));
}

}  // namespace wevora
