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

/// Services on Unix sockets that speak D-Bus without a bus between: the socket of a service has the
/// service's name, its object is "/". Only what this user owns and runs is a service.
///
/// A peer that keeps us waiting for `patience` in all, in one question or in several, is taken for
/// dead: the connection is closed, the question has no answer, and the death is told like any
/// other. Such a process has no port, and nobody waits for it, until it answers promptly.
/// Threads: the main thread; a connection's proxies from any.
/// Owns: nothing; the notification center must outlive its connections.
/// Errors: null or none for everything that cannot be had.
class SocketConnections : public DistributedObjects {
 public:
  explicit SocketConnections(LocalNotificationCenter& center,
                             std::string folder = userRuntimeFolder(),
                             std::chrono::milliseconds patience = std::chrono::seconds(2),
                             std::shared_ptr<const Clock> clock = std::make_shared<SystemClock>(),
                             std::shared_ptr<SocketCalls> calls = std::make_shared<SocketCalls>());

  std::shared_ptr<SendPort> portForName(const std::string& name) override;
  std::shared_ptr<Connection> connectionWithSendPort(
      const std::shared_ptr<SendPort>& sendPort) override;

 private:
  LocalNotificationCenter& center_;
  std::string folder_;
  std::chrono::milliseconds patience_;
  std::shared_ptr<const Clock> clock_;
  std::shared_ptr<SocketCalls> calls_;
  std::shared_ptr<UnresponsivePeers> silent_;
};

}  // namespace wevora::platform
