#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/IPC/DistributedObjects.h"
#include "Platform/IPC/ServiceNames.h"

namespace wevora::platform {

/// A service that this process offers to the other processes of its user, under a name.
/// Threads: the main thread, from whose main loop it is served.
/// Owns: the socket and its name, and the connections of its peers, until destroyed.
/// Errors: a call with wrong arguments, or whose handler throws or has no answer, is answered with
///   an error of the bus; the service goes on.
class PublishedService {
 public:
  /// Answers a method: its result, where it has one, and then its out arguments. A property is
  /// asked for like a method of its name.
  using Handler =
      std::function<std::optional<Array>(const std::string& method, const Array& arguments)>;

  /// A protocol that the service's object answers to.
  struct Offer {
    WireProtocol protocol;
    Handler handler;
  };

  /// Takes over what a service that ended without cleaning up has left. Null where a running
  /// service has the name or one is just taking it, or where the socket cannot be made. A peer that
  /// has not said within `patience` who it is, is sent away.
  static std::unique_ptr<PublishedService> publish(
      const std::string& name, std::vector<Offer> offers,
      const std::string& folder = userRuntimeFolder(),
      std::chrono::milliseconds patience = std::chrono::seconds(2));
  static std::unique_ptr<PublishedService> publish(const std::string& name,
                                                   const WireProtocol& protocol, Handler handler,
                                                   const std::string& folder = userRuntimeFolder());
  ~PublishedService();
  PublishedService(const PublishedService&) = delete;
  PublishedService& operator=(const PublishedService&) = delete;

  std::size_t peers() const;

 private:
  struct State;
  explicit PublishedService(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace wevora::platform
