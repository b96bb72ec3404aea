#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Platform/Dispatch/MainLoopThrottle.h"
#include "Platform/IPC/DistributedNotificationCenter.h"
#include "Platform/IPC/NotificationQueue.h"
#include "Platform/IPC/Variants.h"

namespace wevora::platform {

/// Notifications that have come and wait to be told, a few for each turn of the main loop: a burst
/// of them does not keep the host's other work waiting.
/// Threads: made and destroyed on one, from whose main context they are told; added from any.
/// Owns: what waits; it goes untold when the deliveries end.
/// Errors: none; what is thrown where they are told ends there.
class NotificationDispatcher {
 public:
  using Tell = std::function<void(const DistributedNotification&)>;

  explicit NotificationDispatcher(Tell tell, NotificationQueue::Limits limits = {});

  void add(std::string name, VariantPtr arguments);

 private:
  std::shared_ptr<NotificationQueue> waiting_;
  MainLoopThrottle::TaskSource taskSource_;
};

/// A notification from a signal's arguments: what is missing or of another type is absent.
DistributedNotification notificationOf(std::string name, GVariant* arguments);

}  // namespace wevora::platform
