#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Connector/IDaemonConnection.h"
#include "FinderIntegration/finder_bundle/IPC/StatusEngine.h"
#include "Platform/Base/LocalNotificationCenter.h"
#include "Platform/IPC/DistributedNotificationCenter.h"
#include "Platform/IPC/DistributedObjects.h"

namespace wevora {

/// Dependencies of the connector. They outlive it.
struct WVAgentConnectorServices {
  using Text = std::optional<std::string>;
  Text userName;  ///< the login name
  platform::DistributedObjects& distributedObjects;
  platform::DistributedNotificationCenter& distributedCenter;
  platform::LocalNotificationCenter& localCenter;
  StatusEngine& engine;
  /// Creates a settings reader for an account.
  std::function<std::unique_ptr<SettingsReader>(const Text& accountId)> appSupport;
};

/// Connects the bundle to the agent: finds the agent's service, reads the account, turns badges on
/// and off, and handles the agent's notifications. The main thread only.
///
/// It has two states. Waiting: it observes only the announcement of an agent. Connected: it holds
/// the agent's proxy and observes events, the account record, the connection status and the death
/// of the connection. The badge setting is observed in both.
/// Errors: an unreachable or unresponsive agent counts as absent. A step that throws is skipped if
///   the next ones do not depend on it.
class WVAgentConnector {
 public:
  using Text = std::optional<std::string>;

  // -init
  explicit WVAgentConnector(WVAgentConnectorServices services);
  WVAgentConnector(const WVAgentConnector&) = delete;
  WVAgentConnector& operator=(const WVAgentConnector&) = delete;

  /// Creates and connects the process-wide instance, which is never destroyed.
  // +load
  static void load();

  // -connect
  void connect();
  // -checkConnectionStatus
  void checkConnectionStatus();
  /// Each call creates a new settings reader and resets the engine and its pool.
  // -checkEnabled
  void checkEnabled();
  // -setAccountId:
  void setAccountId(const Text& accountId);
  // -turnOnIcons
  void turnOnIcons();
  // -turnOffIcons
  void turnOffIcons();

  // -connectionDidDie:
  void connectionDidDie();
  // -connectionAlive:
  void connectionAlive();
  /// Does not turn badges on or off.
  // -accountInfoDidChanged:
  void accountInfoDidChanged();
  // -finderOverlayChangedNotificationReceived:
  void finderOverlayChangedNotificationReceived();
  // -wvrEventNotificationReceived:
  void wvrEventNotificationReceived(const platform::DistributedNotification& notification);

  // -subscribeToFinderOverlayEnabledNotifications
  void subscribeToFinderOverlayEnabledNotifications();
  // -startObservingEventNotification
  void startObservingEventNotification();
  // -stopObservingEventNotification
  void stopObservingEventNotification();
  // -startReceivingAccountInfo
  void startReceivingAccountInfo();
  // -stopReceivingAccountInfo
  void stopReceivingAccountInfo();
  // -startReceivingConnectionStatusNotifications
  void startReceivingConnectionStatusNotifications();
  // -stopReceivingConnectionStatusNotifications
  void stopReceivingConnectionStatusNotifications();
  // -startToObserveConnectionBecomeAvailableNotification
  void startToObserveConnectionBecomeAvailableNotification();
  // -stopToObserveConnectionBecomeAvailableNotification
  void stopToObserveConnectionBecomeAvailableNotification();
  // "Unvailable" is the selectors' spelling.
  // -startObservingConnectionBecomeUnvailableNotification
  void startObservingConnectionBecomeUnvailableNotification();
  // -stopObservingConnectionBecomeUnvailableNotification
  void stopObservingConnectionBecomeUnvailableNotification();

 private:
  using Observation = std::unique_ptr<platform::DistributedNotificationCenter::Observation>;
  using LocalObservation = std::unique_ptr<platform::LocalNotificationCenter::Observation>;

  void openConnection(const std::shared_ptr<platform::SendPort>& port);
  Text clientID() const;
  template <class Handler>
  Observation observe(const char* name, const Text& object, Handler handler);

  const WVAgentConnectorServices services_;
  std::shared_ptr<platform::Connection> _clientServerConnection;
  Text _distributedNotificationObject;
  std::shared_ptr<IDaemonConnection> _daemonConnection;  // null while not connected
  std::unique_ptr<SettingsReader> appSupport;            // one per account change

  Observation overlayObservation_;
  Observation eventObservation_;
  Observation accountObservation_;
  Observation statusObservation_;
  Observation availableObservation_;
  LocalObservation unavailableObservation_;
};

}  // namespace wevora
