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

/// What the connector works with; all of it outlives the connector.
struct WVAgentConnectorServices {
  using Text = std::optional<std::string>;
  Text userName;  ///< the login name
  platform::DistributedObjects& distributedObjects;
  platform::DistributedNotificationCenter& distributedCenter;
  platform::LocalNotificationCenter& localCenter;
  StatusEngine& engine;
  /// A new reader of the settings; it is given the account.
  std::function<std::unique_ptr<SettingsReader>(const Text& accountId)> appSupport;
};

/// Keeps the bundle in step with the agent: finds its service among its names, learns the account,
/// switches the badges, and turns the agent's notifications into work. While there is no agent it
/// waits for one to announce itself.
/// Threads: the main thread. No lock is taken.
/// Owns: the connection, the proxy, the settings reader, the observations.
/// Errors: none; an agent that cannot be reached or does not answer is an absent one, and a step
///   that throws is passed over where the next ones do not need it.
class WVAgentConnector {
 public:
  using Text = std::optional<std::string>;

  // -init
  explicit WVAgentConnector(WVAgentConnectorServices services);
  WVAgentConnector(const WVAgentConnector&) = delete;
  WVAgentConnector& operator=(const WVAgentConnector&) = delete;

  /// Makes the one of the process, which is never destroyed, and connects it.
  // +load
  static void load();

  // -connect
  void connect();
  // -checkConnectionStatus
  void checkConnectionStatus();
  /// Makes a new settings reader and resets the engine and its pool each time.
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
  /// Leaves the badges as they are, on or off.
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
  // "Unvailable": the selectors' own spelling.
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
  std::unique_ptr<SettingsReader> appSupport;            // a new one for each account

  Observation overlayObservation_;
  Observation eventObservation_;
  Observation accountObservation_;
  Observation statusObservation_;
  Observation availableObservation_;
  LocalObservation unavailableObservation_;
};

}  // namespace wevora
