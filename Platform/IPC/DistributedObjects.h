#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

/// Posted in this process, on the main thread, when the peer of a connection is gone; its object
/// is the Connection.
inline constexpr const char* kNSConnectionDidDieNotification = "NSConnectionDidDieNotification";

/// A protocol as it stands on the wire: an interface and its methods.
struct WireProtocol {
  std::string interfaceName;
  std::string introspectionXml;
};

/// Where a service can be reached: it accepted us.
/// Threads: one. Owns: the way there. Errors: none.
class SendPort {
 public:
  virtual ~SendPort() = default;
};

/// The object that a service offers.
/// Threads: any, once its connection is switched to multi-threaded use.
/// Owns: a share of its connection's road. Errors: none is the answer of a call that failed.
class RootProxy {
 public:
  virtual ~RootProxy() = default;
  /// Asks the peer.
  virtual bool conformsToProtocol(const WireProtocol& protocol) = 0;
  /// Calls a method of the protocol; the answer is its result, where it has one, and then its out
  /// arguments.
  virtual std::optional<Array> call(const WireProtocol& protocol, std::string_view method,
                                    const Array& arguments) = 0;
};

/// A connection to a service. When its peer goes, kNSConnectionDidDieNotification is posted.
/// Threads: made and destroyed on the main thread. Owns: the road to the peer.
/// Errors: none; a dead connection answers no call.
class Connection {
 public:
  virtual ~Connection() = default;
  virtual void enableMultipleThreads() = 0;
  virtual std::shared_ptr<RootProxy> rootProxy() = 0;
};

/// The services of this user, by name.
/// Threads: the main thread. Owns: nothing. Errors: null for everything that cannot be had.
class DistributedObjects {
 public:
  virtual ~DistributedObjects() = default;
  virtual std::shared_ptr<SendPort> portForName(const std::string& name) = 0;
  virtual std::shared_ptr<Connection> connectionWithSendPort(
      const std::shared_ptr<SendPort>& sendPort) = 0;
};

}  // namespace wevora::platform
