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
  std::optional<std::string> object;  ///< whose it is; none is nobody's
  Dictionary userInfo;
};

/// Hands notifications to the observers of their name in all processes of this user.
/// Threads: the main thread, from whose main loop observers are called.
/// Owns: the observers' handlers, each until its Observation goes.
/// Errors: none; where nothing can be heard, nothing is.
class DistributedNotificationCenter {
 public:
  using Handler = std::function<void(const DistributedNotification&)>;

  /// Ends the observation when destroyed.
  class Observation {
   public:
    virtual ~Observation() = default;
  };

  virtual ~DistributedNotificationCenter() = default;
  /// Hears of one object, or of all where it is none.
  virtual std::unique_ptr<Observation> observe(const std::string& name,
                                               const std::optional<std::string>& object,
                                               Handler handler) = 0;
  /// False where it cannot be sent. It is on its way when this returns.
  virtual bool post(const DistributedNotification& notification) = 0;
};

}  // namespace wevora::platform
