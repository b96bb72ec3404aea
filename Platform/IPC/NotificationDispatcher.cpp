#include "Platform/IPC/NotificationDispatcher.h"

#include <utility>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

VariantPtr argument(GVariant* arguments, gsize index, const GVariantType* type) {
  if (g_variant_is_of_type(arguments, G_VARIANT_TYPE_TUPLE) == FALSE ||
      g_variant_n_children(arguments) <= index)
    return nullptr;
  VariantPtr found(g_variant_get_child_value(arguments, index));
  return g_variant_is_of_type(found.get(), type) ? std::move(found) : nullptr;
}

}  // namespace

DistributedNotification notificationOf(std::string name, GVariant* arguments) {
  DistributedNotification notification{std::move(name), std::nullopt, {}};
  if (const auto object = argument(arguments, 0, G_VARIANT_TYPE_STRING))
    if (const char* text = g_variant_get_string(object.get(), nullptr); *text != '\0')
      notification.object = text;
  const auto userInfo = argument(arguments, 1, G_VARIANT_TYPE_VARDICT);
  auto entries = valueOf(userInfo.get());
  if (auto* dictionary = entries ? entries->as<Dictionary>() : nullptr)
    notification.userInfo = std::move(*dictionary);
  return notification;
}

NotificationDispatcher::NotificationDispatcher(Deliver deliver, NotificationQueue::Limits limits)
    : queue_(std::make_shared<NotificationQueue>(limits)),
      taskSource_(g_main_context_get_thread_default(), MainLoopThrottle::Order::notifications,
                  [queue = queue_, deliver = std::move(deliver)] {
                    const auto next = queue->take();
                    if (!next) return false;
                    catchAll([&] { deliver(notificationOf(next->name, next->arguments.get())); });
                    return queue->count() > 0;
                  }) {}

void NotificationDispatcher::add(std::string name, VariantPtr arguments) {
  queue_->add(std::move(name), std::move(arguments));
  taskSource_.ready();
}

}  // namespace wevora::platform
