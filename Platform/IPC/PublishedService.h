#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/IPC/DistributedObjects.h"
#include "Platform/IPC/ServiceNames.h"

namespace wevora::platform {

/// A named service on a Unix socket for other processes of this user, peer to peer over D-Bus.
/// Thread-safety: main thread only; serves calls from its main loop.
/// Ownership: the destructor removes the socket and closes all connections.
/// Errors: a call with invalid arguments, or whose handler throws or returns nullopt, gets a D-Bus
///   error reply; the service continues.
class PublishedService {
 public:
  /// Implements the methods. Returns the result, if the method has one, followed by the out
  /// arguments. A property is read by a call with its name and no arguments.
  using Handler =
      std::function<std::optional<Array>(const std::string& method, const Array& arguments)>;

  /// A protocol that the service's root object implements.
  struct Offer {
    WireProtocol protocol;
    Handler handler;
  };

  /// Default authentication timeout; a peer that has not authenticated by then is disconnected.
  static constexpr std::chrono::milliseconds kAuthenticationTimeout = std::chrono::seconds(2);

  /// Creates the socket; replaces a stale socket that a killed service has left. Returns null if a
  /// running service has the name, if another process is just taking it, or if the socket cannot be
  /// created.
  static std::unique_ptr<PublishedService> publish(
      const std::string& name, std::vector<Offer> offers,
      const std::string& folder = userRuntimeFolder(),
      std::chrono::milliseconds authenticationTimeout = kAuthenticationTimeout);
  static std::unique_ptr<PublishedService> publish(const std::string& name,
                                                   const WireProtocol& protocol, Handler handler,
                                                   const std::string& folder = userRuntimeFolder());
  ~PublishedService();
  PublishedService(const PublishedService&) = delete;
  PublishedService& operator=(const PublishedService&) = delete;

  /// The number of authenticated peers.
  std::size_t peers() const;

 private:
  struct State;
  explicit PublishedService(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace wevora::platform
