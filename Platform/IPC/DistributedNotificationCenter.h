#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

/// A notification between processes.
struct DistributedNotification {
  std::string name;
  std::optional<std::string> object;  ///< the sender's object; nullopt if it has none
  Dictionary userInfo;
};

/// Delivers notifications to the observers of their name in all processes of this user.
/// Thread-safety: main thread only; handlers are called from its main loop.
/// Ownership: keeps each handler until its Observation is destroyed.
/// Errors: without a connection, observers receive nothing until it is restored.
class DistributedNotificationCenter {
 public:
  using Handler = std::function<void(const DistributedNotification&)>;

  /// Ends the observation when destroyed.
  class Observation {
   public:
    virtual ~Observation() = default;
  };

  virtual ~DistributedNotificationCenter() = default;
  /// Observes the notifications of one object, or of all objects if `object` is nullopt.
  virtual std::unique_ptr<Observation> observe(const std::string& name,
                                               const std::optional<std::string>& object,
                                               Handler handler) = 0;
  /// Queues the notification for sending. Returns false if it cannot be sent.
  virtual bool post(const DistributedNotification& notification) = 0;
};

}  // namespace wevora::platform
