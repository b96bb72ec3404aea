#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

/// Posted in this process, on the main thread, when a connection is closed by its peer or after a
/// call timeout. The object is the Connection.
inline constexpr const char* kNSConnectionDidDieNotification = "NSConnectionDidDieNotification";

/// A protocol on the wire: a D-Bus interface and its introspection XML.
struct WireProtocol {
  std::string interfaceName;
  std::string introspectionXml;
};

/// A service that has accepted our connection.
/// Ownership: owns the connected socket until connectionWithSendPort takes it.
class SendPort {
 public:
  virtual ~SendPort() = default;
};

/// A proxy for the root object of a service.
/// Thread-safety: any thread, after Connection::enableMultipleThreads.
/// Ownership: shares the transport with its connection.
/// Errors: a failed call returns false or nullopt.
class RootProxy {
 public:
  virtual ~RootProxy() = default;
  /// Queries the peer; blocks.
  virtual bool conformsToProtocol(const WireProtocol& protocol) = 0;
  /// Calls a method of the protocol; blocks until the reply or the call timeout. Returns the
  /// result, if the method has one, followed by the out arguments.
  virtual std::optional<Array> call(const WireProtocol& protocol, std::string_view method,
                                    const Array& arguments) = 0;
};

/// A connection to a service. Posts kNSConnectionDidDieNotification when it is closed by the peer
/// or after a call timeout.
/// Thread-safety: created and destroyed on the main thread.
/// Errors: on a closed connection every call fails.
class Connection {
 public:
  virtual ~Connection() = default;
  virtual void enableMultipleThreads() = 0;
  virtual std::shared_ptr<RootProxy> rootProxy() = 0;
};

/// Looks up and connects to the services of this user.
/// Thread-safety: main thread only.
/// Errors: returns null if the service does not exist or cannot be reached.
class DistributedObjects {
 public:
  virtual ~DistributedObjects() = default;
  virtual std::shared_ptr<SendPort> portForName(const std::string& name) = 0;
  virtual std::shared_ptr<Connection> connectionWithSendPort(
      const std::shared_ptr<SendPort>& sendPort) = 0;
};

}  // namespace wevora::platform
