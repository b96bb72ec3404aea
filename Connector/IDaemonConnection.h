#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Connector/DaemonConnectionNames.h"
#include "Connector/WVRAccountInfo.h"
#include "Platform/IPC/DistributedObjects.h"
#include "Platform/PropertyLists/Value.h"

namespace wevora {

/// The interface of the agent's root object. The bundle calls three of its methods:
/// connectionStatus, accountInfo and distributedNotificationObject.
/// Errors: if the agent does not reply, the result is nullopt, NO, 0, or empty.
class IDaemonConnection {
 public:
  using Text = std::optional<std::string>;
  using Array = platform::Array;
  using Dictionary = platform::Dictionary;

  virtual ~IDaemonConnection() = default;

  // -connectionStatus
  virtual std::int32_t connectionStatus() = 0;
  // -isServerReachable
  virtual bool isServerReachable() = 0;
  // -setPreviousConfiguringStatusToConfigured
  virtual void setPreviousConfiguringStatusToConfigured() = 0;
  // -previousConfiguringStatus
  virtual std::int32_t previousConfiguringStatus() = 0;
  // -isConfigurationUnavailableForDeviceWithID:
  virtual bool isConfigurationUnavailableForDeviceWithID(const Text& deviceID) = 0;
  // -getFolderTreeForDeviceWithUID:
  virtual Dictionary getFolderTreeForDeviceWithUID(const Text& deviceUID) = 0;
  // -cancelUserAction
  virtual void cancelUserAction() = 0;
  // -retryUserAction
  virtual void retryUserAction() = 0;
  // -userNotifiedAboutWaitingOfAction
  virtual void userNotifiedAboutWaitingOfAction() = 0;
  // -enableBackupForDevicesWithIDs:disableBackupForDevicesWithIDs:setFolderTreesToBackup:
  virtual void enableBackupForDevicesWithIDs(const Array& deviceIDs,
                                             const Array& disableBackupForDevicesWithIDs,
                                             const Dictionary& setFolderTreesToBackup) = 0;
  // -deviceConfiguringStatusAndIDOfCurrentDevice:arrayOfRemainDeviceIDs:currentError:
  virtual std::uint64_t deviceConfiguringStatusAndIDOfCurrentDevice(Text& currentDevice,
                                                                    Array& arrayOfRemainDeviceIDs,
                                                                    Text& currentError) = 0;
  // -commonInfo
  virtual Dictionary commonInfo() = 0;
  // -updateBandwidthOptions:
  virtual void updateBandwidthOptions(const Dictionary& options) = 0;
  // -currentBandwidth
  virtual Dictionary currentBandwidth() = 0;
  // -bandwidthOptions
  virtual Dictionary bandwidthOptions() = 0;
  // -accountInfo
  virtual std::optional<WVRAccountInfo> accountInfo() = 0;
  // -deviceList
  virtual Array deviceList() = 0;
  // -sendLog:logLevel:withBacktrace:
  virtual void sendLog(const Text& log, std::int32_t logLevel, bool withBacktrace) = 0;
  // -lastPassword
  virtual Text lastPassword() = 0;
  // -lastLoginEmail
  virtual Text lastLoginEmail() = 0;
  // -clientVersion
  virtual Text clientVersion() = 0;
  // -logout
  virtual void logout() = 0;
  // -loginWithEmail:password:
  virtual void loginWithEmail(const Text& email, const Text& password) = 0;
  // -signUpWithFirstName:lastName:email:password:
  virtual void signUpWithFirstName(const Text& firstName, const Text& lastName, const Text& email,
                                   const Text& password) = 0;
  // -udidWithLocation:
  virtual Text udidWithLocation(const Text& location) = 0;
  // -updateUDIDWithLocation:
  virtual void updateUDIDWithLocation(const Text& location) = 0;
  // -performCallback:
  virtual void performCallback(const Text& callback) = 0;
  // -distributedNotificationObject
  virtual Text distributedNotificationObject() = 0;
};

/// A method as the protocol declares it.
struct ProtocolMethod {
  const char* selector;
  const char* encoding;
  const char* resultQualifiers;    ///< "bycopy" or ""
  const char* argumentQualifiers;  ///< of every argument: "bycopy", "out bycopy", ...
  bool used;                       ///< by the bundle
};

/// All methods, in their declared order.
std::span<const ProtocolMethod> daemonConnectionMethods();
/// The encoding of the protocol's only property.
inline constexpr const char* kConnectionStatusPropertyAttributes = "Ti,R,N";

/// The D-Bus name of a selector: colons become underscores.
std::string wireName(std::string_view selector);

/// The protocol's D-Bus interface.
const platform::WireProtocol& daemonConnectionProtocol();

}  // namespace wevora
