#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace wevora {

/// The name of the agent's service. The placeholders are the login name and a seed.
inline constexpr const char* kIDaemonConnectionNameTemplate = "com.Wevora.client.connection.%@.%u";

/// nullopt without a user name.
std::optional<std::string> daemonConnectionNameAndSeed(const std::optional<std::string>& userName,
                                                       std::uint32_t seed);
/// The number of seeds. Valid seeds are below it.
std::uint32_t daemonConnectionNameMaximalSeed();

/// All service names in the order in which they are tried; empty without a user name.
std::vector<std::string> daemonConnectionNames(const std::optional<std::string>& userName);

/// The state of the agent's connection to its server.
enum DaemonConnectionStatus : std::int32_t {
  CONNECTION_STATUS_DID_NOT_LOGGEDIN = 0,
  CONNECTION_STATUS_LOGIN_IN_PROGRESS = 1,
  CONNECTION_STATUS_LOGGEDIN = 2,
};
/// The name of a status; "DEFAULT" for any other number.
const char* daemonConnectionStatusLabel(std::int32_t status);

// Notifications between the agent and its clients. The object of the agent's notifications is its
// distributedNotificationObject.
inline constexpr const char* kIDaemonConnectionBecomeAvailableNotification =
    "kIDaemonConnectionBecomeAvailableNotification";
inline constexpr const char* kIDaemonConnectionAccountInfoChangedNotification =
    "kIDaemonConnectionAccountInfoChangedNotification";
inline constexpr const char* kIDaemonConnectionConnectionStatusChangedNotification =
    "kIDaemonConnectionConnectionStatusChangedNotification";
inline constexpr const char* kIDaemonConnectionWVREventNotification =
    "kIDaemonConnectionWVREventNotification";
inline constexpr const char* kIDaemonConnectionNewMessageReceivedNotification =
    "kIDaemonConnectionNewMessageReceivedNotification";
inline constexpr const char* kIDaemonConnectionAutoLoginUDIDChangedNotification =
    "kIDaemonConnectionAutoLoginUDIDChangedNotification";
inline constexpr const char* kIDaemonConnectionBandwidthOptionsChangedNotification =
    "kIDaemonConnectionBandwidthOptionsChangedNotification";
inline constexpr const char* kIDaemonConnectionLoginErrorNotification =
    "kIDaemonConnectionLoginErrorNotification";
inline constexpr const char* kIDaemonConnectionDeviceConfigurationStatusChangedNotification =
    "kIDaemonConnectionDeviceConfigurationStatusChangedNotification";
inline constexpr const char* kIDaemonConnectionDevicePreviousConfiguringStatusChangedNotification =
    "kIDaemonConnectionDevicePreviousConfiguringStatusChangedNotification";
inline constexpr const char* kIDaemonConnectionDeviceListChangedNotification =
    "kIDaemonConnectionDeviceListChangedNotification";
inline constexpr const char* kIDaemonConnectionDeviceErrorNotification =
    "kIDaemonConnectionDeviceErrorNotification";
/// The only name that does not end in "Notification".
inline constexpr const char* kIDaemonConnectionServerReachabilityChanged =
    "kIDaemonConnectionServerReachabilityChanged";

/// A notification object that the bundle does not use.
inline constexpr const char* kIDaemonConnectionCommonDistributedNotificationObject =
    "kIDaemonConnectionCommonDistributedNotificationObject";

// The userInfo of kIDaemonConnectionWVREventNotification: arrays of strings.
inline constexpr const char* kIDaemonConnectionWVREventNotificationPathsKey =
    "kIDaemonConnectionWVREventNotificationPathsKey";
inline constexpr const char* kIDaemonConnectionWVREventNotificationEventsKey =
    "kIDaemonConnectionWVREventNotificationEventsKey";

/// The setting that turns badges on and off; absent means on.
inline constexpr const char* kFinderOverlayEnabledKey = "kFinderOverlayEnabledKey";
/// Posted after a change of that setting.
inline constexpr const char* kFinderOverlayChanged = "kFinderOverlayChanged";

}  // namespace wevora
