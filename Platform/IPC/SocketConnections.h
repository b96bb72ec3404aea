#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "Platform/Base/Clock.h"
#include "Platform/Base/LocalNotificationCenter.h"
#include "Platform/IPC/DistributedObjects.h"
#include "Platform/IPC/ServiceNames.h"

namespace wevora::platform {

class UnresponsivePeers;

/// The default call timeout: how long the agent, or any other peer, may block the caller in total.
inline constexpr std::chrono::milliseconds kCallTimeout = std::chrono::seconds(2);

/// Connects to services on Unix sockets, peer to peer over D-Bus (no bus daemon). The socket has
/// the name of the service; the root object is "/". Only a socket that this user owns, and on which
/// a process of this user listens, is a service.
///
/// `callTimeout` limits one call and, through a WaitBudget, the total of slow calls on a
/// connection. On a timeout the call fails, the connection is closed and
/// kNSConnectionDidDieNotification is posted. The process is then recorded as unresponsive:
/// portForName probes it with a short timeout and returns null until it replies promptly.
/// Thread-safety: main thread only; the proxies of a connection may be used from any thread.
/// Ownership: the notification center must outlive the connections.
class SocketConnections : public DistributedObjects {
 public:
  explicit SocketConnections(LocalNotificationCenter& center,
                             std::string folder = userRuntimeFolder(),
                             std::chrono::milliseconds callTimeout = kCallTimeout,
                             std::shared_ptr<const Clock> clock = std::make_shared<SystemClock>(),
                             std::shared_ptr<SocketCalls> calls = std::make_shared<SocketCalls>());

  std::shared_ptr<SendPort> portForName(const std::string& name) override;
  std::shared_ptr<Connection> connectionWithSendPort(
      const std::shared_ptr<SendPort>& sendPort) override;

 private:
  LocalNotificationCenter& center_;
  std::string folder_;
  std::chrono::milliseconds callTimeout_;
  std::shared_ptr<const Clock> clock_;
  std::shared_ptr<SocketCalls> calls_;
  std::shared_ptr<UnresponsivePeers> unresponsive_;
};

}  // namespace wevora::platform
