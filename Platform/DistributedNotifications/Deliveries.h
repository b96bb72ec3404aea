#pragma once

#include <deque>
#include <memory>

#include "Platform/DistributedNotifications/DistributedNotificationCenter.h"
#include "Platform/Variants/Variants.h"

namespace wevora::platform {

/// Notifications that have come and wait for their observers, a few for each turn of the main
/// loop: a burst of them does not keep the host's other work waiting.
/// Threads: the one that made it, from whose main context observers are called.
/// Owns: what waits, and a source of the main context; observers are not owned, and one that is
///   gone hears nothing.
/// Errors: none; what an observer throws ends there.
class Deliveries {
 public:
  using Handler = DistributedNotificationCenter::Handler;

  Deliveries();
  ~Deliveries();
  Deliveries(const Deliveries&) = delete;
  Deliveries& operator=(const Deliveries&) = delete;

  void add(std::weak_ptr<Handler> observer, std::string name, VariantPtr arguments);

 private:
  struct Delivery {
    std::weak_ptr<Handler> observer;
    std::string name;
    VariantPtr arguments;
  };
  struct Source;

  static gboolean dispatch(GSource* source, GSourceFunc function, gpointer data) noexcept;
  /// Whether more waits.
  static bool deliverSome(std::deque<Delivery>& waiting);

  /// Shared with the call that is under way: an observer may end what it is called from.
  std::shared_ptr<std::deque<Delivery>> waiting_ = std::make_shared<std::deque<Delivery>>();
  GSource* source_;
};

/// What a signal's arguments say: an object and a userInfo. One that is missing or of another type
/// is none or empty, as any other absent value.
DistributedNotification notificationOf(std::string name, GVariant* arguments);

}  // namespace wevora::platform
