#include "Platform/DistributedNotifications/Deliveries.h"

#include <utility>

#include "Platform/Support/Guard.h"

namespace wevora::platform {
namespace {

/// Observers that are called before the host's other sources get their turn again.
constexpr int kDeliveriesPerTurn = 64;

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

struct Deliveries::Source {
  GSource source;
  std::weak_ptr<std::deque<Delivery>>* waiting;
};

Deliveries::Deliveries() {
  static GSourceFuncs functions = {
      nullptr,
      nullptr,
      &Deliveries::dispatch,
      [](GSource* source) noexcept {
        const std::unique_ptr<std::weak_ptr<std::deque<Delivery>>> owned(
            reinterpret_cast<Source*>(source)->waiting);
      },
      nullptr,
      nullptr};
  auto waiting = std::make_unique<std::weak_ptr<std::deque<Delivery>>>(waiting_);
  source_ = g_source_new(&functions, sizeof(Source));
  reinterpret_cast<Source*>(source_)->waiting = waiting.release();
  g_source_set_name(source_, "wevora notifications");
  g_source_attach(source_, g_main_context_get_thread_default());
}

Deliveries::~Deliveries() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

void Deliveries::add(std::weak_ptr<Handler> observer, std::string name, VariantPtr arguments) {
  waiting_->push_back({std::move(observer), std::move(name), std::move(arguments)});
  if (waiting_->size() == 1) g_source_set_ready_time(source_, 0);
}

gboolean Deliveries::dispatch(GSource* source, GSourceFunc /*function*/,
                              gpointer /*data*/) noexcept {
  const auto waiting = reinterpret_cast<Source*>(source)->waiting->lock();
  if (!waiting) return G_SOURCE_REMOVE;
  if (!deliverSome(*waiting)) g_source_set_ready_time(source, -1);
  return G_SOURCE_CONTINUE;
}

bool Deliveries::deliverSome(std::deque<Delivery>& waiting) {
  for (int i = 0; i < kDeliveriesPerTurn && !waiting.empty(); ++i) {
    const Delivery next = std::move(waiting.front());
    waiting.pop_front();
    if (const auto observer = next.observer.lock())
      swallowing([&] { (*observer)(notificationOf(next.name, next.arguments.get())); });
  }
  return !waiting.empty();
}

}  // namespace wevora::platform
