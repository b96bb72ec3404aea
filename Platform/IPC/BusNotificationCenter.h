#pragma once

#include <memory>
#include <string>

#include "Platform/IPC/DistributedNotificationCenter.h"

namespace wevora::platform {

inline constexpr const char* kDistributedNotificationInterface =
    "com.Wevora.DistributedNotificationCenter";
inline constexpr const char* kDistributedNotificationPath =
    "/com/Wevora/DistributedNotificationCenter";

/// Notifications as signals on the session bus: the member is the notification's name, its
/// arguments are the object ("" is none) and the userInfo (a{sv}). An observer's object is part of
/// its match rule, so that the bus itself keeps other objects' notifications away.
///
/// The road to the bus is this object's own, taken at first use, and waited for two seconds at
/// most, once: the process goes on when the bus goes away, and observers hear again when it is
/// back. Threads: the main thread. Owns: the connection to the bus. Errors: none; without a bus
/// nothing is heard, and posting answers false, as it does for what the
///   bus cannot carry. What the bus cannot carry has no observation.
class BusNotificationCenter : public DistributedNotificationCenter {
 public:
  BusNotificationCenter();
  ~BusNotificationCenter() override;
  BusNotificationCenter(const BusNotificationCenter&) = delete;
  BusNotificationCenter& operator=(const BusNotificationCenter&) = delete;

  std::unique_ptr<Observation> observe(const std::string& name,
                                       const std::optional<std::string>& object,
                                       Handler handler) override;
  bool post(const DistributedNotification& notification) override;
  /// Waits until everything posted has left this process, two seconds at most; for a process that
  /// is about to end. False where it has not.
  bool flush();

 private:
  struct State;
  class BusObservation;
  const std::shared_ptr<State> state_;
};

}  // namespace wevora::platform
