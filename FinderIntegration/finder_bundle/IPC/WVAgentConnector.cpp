#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"

#include <utility>
#include <vector>

#include "Connector/DaemonConnectionPort.h"
#include "Connector/DaemonConnectionProxy.h"
#include "Platform/Base/Guard.h"
#include "Platform/Base/Strings.h"

namespace wevora {
namespace {

using platform::catchAll;
using platform::DistributedNotification;
using platform::textsIn;

constexpr const char* kRemovedEvent = "Removed";

}  // namespace

WVAgentConnector::WVAgentConnector(WVAgentConnectorServices services)
    : services_(std::move(services)) {
  subscribeToFinderOverlayEnabledNotifications();
}

// A failed step must not prevent the later ones: without observers the connector would never learn
// of the agent again.

void WVAgentConnector::connect() {
  catchAll([&] {
    if (const auto port = portOfDaemonConnection(services_.distributedObjects, services_.userName))
      openConnection(port);
  });
  if (_daemonConnection) {
    catchAll([&] { setAccountId(clientID()); });
    catchAll([&] { startObservingEventNotification(); });
    catchAll([&] { checkConnectionStatus(); });
    startObservingConnectionBecomeUnvailableNotification();
    catchAll([&] { startReceivingAccountInfo(); });
    catchAll([&] { startReceivingConnectionStatusNotifications(); });
    catchAll([&] { services_.engine.updateDesktopForce(false); });
  } else {
    startToObserveConnectionBecomeAvailableNotification();
  }
  catchAll([&] { checkEnabled(); });
}

void WVAgentConnector::openConnection(const std::shared_ptr<platform::SendPort>& port) {
  _clientServerConnection = services_.distributedObjects.connectionWithSendPort(port);
  if (!_clientServerConnection) return;
  _clientServerConnection->enableMultipleThreads();
  auto root = _clientServerConnection->rootProxy();
  if (!root || !root->conformsToProtocol(daemonConnectionProtocol())) return;
  _daemonConnection = daemonConnectionOver(std::move(root));
  _distributedNotificationObject = _daemonConnection->distributedNotificationObject();
}

WVAgentConnector::Text WVAgentConnector::clientID() const {
  const auto account = _daemonConnection ? _daemonConnection->accountInfo() : std::nullopt;
  return account ? account->clientID() : std::nullopt;
}

void WVAgentConnector::checkEnabled() {
  const auto accountId = clientID();
  setAccountId(accountId);
  const auto value = appSupport->readKey(kFinderOverlayEnabledKey, accountId);
  const bool enabled = !value || value->boolValue();
  if (enabled && accountId)
    turnOnIcons();
  else
    turnOffIcons();
}

void WVAgentConnector::turnOnIcons() {
  services_.engine.setTurnedOn(true);
}

void WVAgentConnector::turnOffIcons() {
  services_.engine.setTurnedOn(false);
}

void WVAgentConnector::setAccountId(const Text& accountId) {
  appSupport.reset();
  appSupport = services_.appSupport(accountId);
  services_.engine.reinit();
  services_.engine.setAccountIdOfPool(accountId);
  services_.engine.reinitPool();
}

void WVAgentConnector::checkConnectionStatus() {
  if (!_daemonConnection) return;
  switch (_daemonConnection->connectionStatus()) {
    case CONNECTION_STATUS_LOGGEDIN:
    case CONNECTION_STATUS_DID_NOT_LOGGEDIN:
      checkEnabled();
      services_.engine.reinit();
      break;
    default:
      break;
  }
}

void WVAgentConnector::wvrEventNotificationReceived(const DistributedNotification& notification) {
  for (const auto& event :
       textsIn(notification.userInfo, kIDaemonConnectionWVREventNotificationEventsKey)) {
    if (event != kRemovedEvent) continue;
    services_.engine.updateWindows();
    services_.engine.reinit();
  }
  auto paths = textsIn(notification.userInfo, kIDaemonConnectionWVREventNotificationPathsKey);
  for (auto& path : paths) path = platform::lowercased(path);
  services_.engine.updateDesktopForce(false);
  services_.engine.updateNodesWithPath(std::move(paths));
}

void WVAgentConnector::accountInfoDidChanged() {
  setAccountId(clientID());
}

void WVAgentConnector::finderOverlayChangedNotificationReceived() {
  checkEnabled();
}

void WVAgentConnector::connectionDidDie() {
  _daemonConnection.reset();
  catchAll([&] { checkEnabled(); });
  stopReceivingAccountInfo();
  stopObservingEventNotification();
  stopReceivingConnectionStatusNotifications();
  stopObservingConnectionBecomeUnvailableNotification();
  startToObserveConnectionBecomeAvailableNotification();
}

void WVAgentConnector::connectionAlive() {
  catchAll([&] { services_.engine.setAccountIdOfPool(clientID()); });
  stopToObserveConnectionBecomeAvailableNotification();
  connect();
}

template <class Handler>
WVAgentConnector::Observation WVAgentConnector::observe(const char* name, const Text& object,
                                                        Handler handler) {
  return services_.distributedCenter.observe(
      name, object, [this, handler](const DistributedNotification& notification) {
        handler(*this, notification);
      });
}

void WVAgentConnector::subscribeToFinderOverlayEnabledNotifications() {
  overlayObservation_ = observe(
      kFinderOverlayChanged, std::nullopt,
      [](WVAgentConnector& self, const auto&) { self.finderOverlayChangedNotificationReceived(); });
}

void WVAgentConnector::startObservingEventNotification() {
  eventObservation_ =
      observe(kIDaemonConnectionWVREventNotification, _distributedNotificationObject,
              [](WVAgentConnector& self, const auto& notification) {
                self.wvrEventNotificationReceived(notification);
              });
}

void WVAgentConnector::stopObservingEventNotification() {
  eventObservation_.reset();
}

void WVAgentConnector::startReceivingAccountInfo() {
  accountObservation_ =
      observe(kIDaemonConnectionAccountInfoChangedNotification, _distributedNotificationObject,
              [](WVAgentConnector& self, const auto&) { self.accountInfoDidChanged(); });
}

void WVAgentConnector::stopReceivingAccountInfo() {
  accountObservation_.reset();
}

void WVAgentConnector::startReceivingConnectionStatusNotifications() {
  statusObservation_ =
      observe(kIDaemonConnectionConnectionStatusChangedNotification, _distributedNotificationObject,
              [](WVAgentConnector& self, const auto&) { self.checkConnectionStatus(); });
}

void WVAgentConnector::stopReceivingConnectionStatusNotifications() {
  statusObservation_.reset();
}

void WVAgentConnector::startToObserveConnectionBecomeAvailableNotification() {
  availableObservation_ =
      observe(kIDaemonConnectionBecomeAvailableNotification, std::nullopt,
              [](WVAgentConnector& self, const auto&) { self.connectionAlive(); });
}

void WVAgentConnector::stopToObserveConnectionBecomeAvailableNotification() {
  availableObservation_.reset();
}

void WVAgentConnector::startObservingConnectionBecomeUnvailableNotification() {
  unavailableObservation_ = services_.localCenter.observe(
      platform::kNSConnectionDidDieNotification,
      [this](const platform::Notification&) { connectionDidDie(); }, _clientServerConnection.get());
}

void WVAgentConnector::stopObservingConnectionBecomeUnvailableNotification() {
  unavailableObservation_.reset();
}

}  // namespace wevora
