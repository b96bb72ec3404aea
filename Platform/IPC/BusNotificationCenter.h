#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "Platform/IPC/DistributedNotificationCenter.h"

namespace wevora::platform {

inline constexpr const char* kDistributedNotificationInterface =
    "com.Wevora.DistributedNotificationCenter";
inline constexpr const char* kDistributedNotificationPath =
    "/com/Wevora/DistributedNotificationCenter";

/// Sends notifications as signals on the session bus. The member is the notification's name; the
/// arguments are the object ("" for no object) and the userInfo (a{sv}). An observer's object is
/// part of its match rule, so the bus filters out notifications of other objects and never wakes
/// this process for them.
///
/// The center has its own connection (SessionBusConnection), which connects at first use and
/// reconnects after a restart of the bus; observers then receive notifications again.
/// Thread-safety: main thread only.
/// Errors: without a bus, `post` returns false and observers receive nothing. `post` also returns
///   false, and `observe` returns null, if D-Bus cannot represent the name, object or userInfo.
class BusNotificationCenter : public DistributedNotificationCenter {
 public:
  static constexpr std::chrono::seconds kFlushTimeout{2};

  BusNotificationCenter();
  ~BusNotificationCenter() override;
  BusNotificationCenter(const BusNotificationCenter&) = delete;
  BusNotificationCenter& operator=(const BusNotificationCenter&) = delete;

  std::unique_ptr<Observation> observe(const std::string& name,
                                       const std::optional<std::string>& object,
                                       Handler handler) override;
  bool post(const DistributedNotification& notification) override;
  /// Blocks until all posted notifications have been sent, for at most kFlushTimeout. For a process
  /// that is about to exit. Returns false on timeout or without a bus.
  bool flush();

 private:
  struct State;
  class BusObservation;
  const std::shared_ptr<State> state_;
};

}  // namespace wevora::platform
