#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Platform/Dispatch/MainLoopThrottle.h"
#include "Platform/IPC/DistributedNotificationCenter.h"
#include "Platform/IPC/NotificationQueue.h"
#include "Platform/IPC/Variants.h"

namespace wevora::platform {

/// Queues received notifications and delivers them from the main loop under MainLoopThrottle, so
/// that a burst does not starve the host's other work.
/// Thread-safety: created and destroyed on one thread, which also runs the callback; `add` may be
///   called from any thread.
/// Ownership: destroying the dispatcher drops the notifications that are still queued.
/// Errors: exceptions thrown by the callback are discarded.
class NotificationDispatcher {
 public:
  using Deliver = std::function<void(const DistributedNotification&)>;

  explicit NotificationDispatcher(Deliver deliver, NotificationQueue::Limits limits = {});

  void add(std::string name, VariantPtr arguments);

 private:
  std::shared_ptr<NotificationQueue> queue_;
  MainLoopThrottle::TaskSource taskSource_;
};

/// Builds a notification from a signal's arguments. Missing or mistyped arguments are ignored.
DistributedNotification notificationOf(std::string name, GVariant* arguments);

}  // namespace wevora::platform
