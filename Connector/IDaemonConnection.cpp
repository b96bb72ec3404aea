#include "Connector/IDaemonConnection.h"

#include <algorithm>

namespace wevora {
namespace {

constexpr ProtocolMethod kMethods[] = {
    {"connectionStatus", "i16@0:8", "", "", true},
    {"isServerReachable", "c16@0:8", "", "", false},
    {"setPreviousConfiguringStatusToConfigured", "v16@0:8", "", "", false},
    {"previousConfiguringStatus", "i16@0:8", "", "", false},
    {"isConfigurationUnavailableForDeviceWithID:", "c24@0:8O@16", "", "bycopy", false},
    {"getFolderTreeForDeviceWithUID:", "O@24@0:8O@16", "bycopy", "bycopy", false},
    {"cancelUserAction", "v16@0:8", "", "", false},
    {"retryUserAction", "v16@0:8", "", "", false},
    {"userNotifiedAboutWaitingOfAction", "v16@0:8", "", "", false},
    {"enableBackupForDevicesWithIDs:disableBackupForDevicesWithIDs:setFolderTreesToBackup:",
     "v40@0:8O@16O@24O@32", "", "bycopy", false},
    {"deviceConfiguringStatusAndIDOfCurrentDevice:arrayOfRemainDeviceIDs:currentError:",
     "Q40@0:8oO^@16oO^@24oO^@32", "", "out bycopy", false},
    {"commonInfo", "O@16@0:8", "bycopy", "", false},
    {"updateBandwidthOptions:", "v24@0:8nO@16", "", "in bycopy", false},
    {"currentBandwidth", "O@16@0:8", "bycopy", "", false},
    {"bandwidthOptions", "O@16@0:8", "bycopy", "", false},
    {"accountInfo", "O@16@0:8", "bycopy", "", true},
    {"deviceList", "O@16@0:8", "bycopy", "", false},
    {"sendLog:logLevel:withBacktrace:", "v32@0:8@16i24c28", "", "", false},
    {"lastPassword", "@16@0:8", "", "", false},
    {"lastLoginEmail", "@16@0:8", "", "", false},
    {"clientVersion", "O@16@0:8", "bycopy", "", false},
    {"logout", "v16@0:8", "", "", false},
    {"loginWithEmail:password:", "v32@0:8@16@24", "", "", false},
    {"signUpWithFirstName:lastName:email:password:", "v48@0:8@16@24@32@40", "", "", false},
    {"udidWithLocation:", "O@24@0:8@16", "bycopy", "", false},
    {"updateUDIDWithLocation:", "v24@0:8@16", "", "", false},
    {"performCallback:", "v24@0:8@16", "", "", false},
    {"distributedNotificationObject", "@16@0:8", "", "", true},
};

/// A nullopt string is sent as an empty string.
constexpr const char* kIntrospectionXml = R"xml(<node>
  <interface name="com.Wevora.IDaemonConnection">
    <method name="connectionStatus">
      <arg name="result" direction="out" type="i"/>
    </method>
    <method name="isServerReachable">
      <arg name="result" direction="out" type="b"/>
    </method>
    <method name="setPreviousConfiguringStatusToConfigured"/>
    <method name="previousConfiguringStatus">
      <arg name="result" direction="out" type="i"/>
    </method>
    <method name="isConfigurationUnavailableForDeviceWithID_">
      <arg name="deviceID" direction="in" type="s"/>
      <arg name="result" direction="out" type="b"/>
    </method>
    <method name="getFolderTreeForDeviceWithUID_">
      <arg name="deviceUID" direction="in" type="s"/>
      <arg name="result" direction="out" type="a{sv}"/>
    </method>
    <method name="cancelUserAction"/>
    <method name="retryUserAction"/>
    <method name="userNotifiedAboutWaitingOfAction"/>
    <method name="enableBackupForDevicesWithIDs_disableBackupForDevicesWithIDs_setFolderTreesToBackup_">
      <arg name="enabled" direction="in" type="as"/>
      <arg name="disabled" direction="in" type="as"/>
      <arg name="folderTrees" direction="in" type="a{sv}"/>
    </method>
    <method name="deviceConfiguringStatusAndIDOfCurrentDevice_arrayOfRemainDeviceIDs_currentError_">
      <arg name="result" direction="out" type="t"/>
      <arg name="IDOfCurrentDevice" direction="out" type="s"/>
      <arg name="arrayOfRemainDeviceIDs" direction="out" type="as"/>
      <arg name="currentError" direction="out" type="s"/>
    </method>
    <method name="commonInfo">
      <arg name="result" direction="out" type="a{sv}"/>
    </method>
    <method name="updateBandwidthOptions_">
      <arg name="options" direction="in" type="a{sv}"/>
    </method>
    <method name="currentBandwidth">
      <arg name="result" direction="out" type="a{sv}"/>
    </method>
    <method name="bandwidthOptions">
      <arg name="result" direction="out" type="a{sv}"/>
    </method>
    <method name="accountInfo">
      <arg name="result" direction="out" type="a{sv}"/>
    </method>
    <method name="deviceList">
      <arg name="result" direction="out" type="aa{sv}"/>
    </method>
    <method name="sendLog_logLevel_withBacktrace_">
      <arg name="log" direction="in" type="s"/>
      <arg name="logLevel" direction="in" type="i"/>
      <arg name="withBacktrace" direction="in" type="b"/>
    </method>
    <method name="lastPassword">
      <arg name="result" direction="out" type="s"/>
    </method>
    <method name="lastLoginEmail">
      <arg name="result" direction="out" type="s"/>
    </method>
    <method name="clientVersion">
      <arg name="result" direction="out" type="s"/>
    </method>
    <method name="logout"/>
    <method name="loginWithEmail_password_">
      <arg name="email" direction="in" type="s"/>
      <arg name="password" direction="in" type="s"/>
    </method>
    <method name="signUpWithFirstName_lastName_email_password_">
      <arg name="firstName" direction="in" type="s"/>
      <arg name="lastName" direction="in" type="s"/>
      <arg name="email" direction="in" type="s"/>
      <arg name="password" direction="in" type="s"/>
    </method>
    <method name="udidWithLocation_">
      <arg name="location" direction="in" type="s"/>
      <arg name="result" direction="out" type="s"/>
    </method>
    <method name="updateUDIDWithLocation_">
      <arg name="location" direction="in" type="s"/>
    </method>
    <method name="performCallback_">
      <arg name="callback" direction="in" type="s"/>
    </method>
    <method name="distributedNotificationObject">
      <arg name="result" direction="out" type="s"/>
    </method>
    <property name="connectionStatus" type="i" access="read"/>
  </interface>
</node>)xml";

}  // namespace

std::span<const ProtocolMethod> daemonConnectionMethods() {
  return kMethods;
}

std::string wireName(std::string_view selector) {
  std::string name(selector);
  std::ranges::replace(name, ':', '_');
  return name;
}

const platform::WireProtocol& daemonConnectionProtocol() {
  static const platform::WireProtocol protocol{"com.Wevora.IDaemonConnection", kIntrospectionXml};
  return protocol;
}

}  // namespace wevora
