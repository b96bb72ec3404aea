#include "Platform/DistributedNotifications/BusNotificationCenter.h"

#include <chrono>
#include <utility>

#include <gio/gio.h>

#include "Platform/DistributedObjects/Deadline.h"
#include "Platform/DistributedObjects/ServiceNames.h"
#include "Platform/Support/Guard.h"
#include "Platform/Variants/Variants.h"

namespace wevora::platform {
namespace {

constexpr std::chrono::seconds kPatience{2};
constexpr const char* kArguments = "(sa{sv})";

/// Where the session bus is. None is started where there is none.
std::optional<std::string> sessionBusAddress() {
  if (const char* address = g_getenv("DBUS_SESSION_BUS_ADDRESS"))
    return *address == '\0' ? std::nullopt : std::optional<std::string>(address);
  const std::string path = userRuntimeFolder() + "/bus";
  if (!connectToOwnSocket(path)) return std::nullopt;
  const std::unique_ptr<gchar, decltype(&g_free)> escaped(g_dbus_address_escape_value(path.c_str()),
                                                          &g_free);
  return "unix:path=" + std::string(escaped.get());
}

using Handler = DistributedNotificationCenter::Handler;

DistributedNotification notificationOf(const gchar* name, GVariant* arguments) {
  DistributedNotification notification{name, std::nullopt, {}};
  const VariantPtr object(g_variant_get_child_value(arguments, 0));
  const VariantPtr userInfo(g_variant_get_child_value(arguments, 1));
  if (const char* text = g_variant_get_string(object.get(), nullptr); *text != '\0')
    notification.object = text;
  auto entries = valueOf(userInfo.get());
  if (auto* dictionary = entries ? entries->as<Dictionary>() : nullptr)
    notification.userInfo = std::move(*dictionary);
  return notification;
}

void received(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
              const gchar* /*interface*/, const gchar* name, GVariant* arguments,
              gpointer handler) noexcept {
  if (g_variant_is_of_type(arguments, G_VARIANT_TYPE(kArguments)) == FALSE) return;
  swallowing([&] {
    // A copy: the handler may end its own observation.
    const auto keep = *static_cast<std::shared_ptr<Handler>*>(handler);
    (*keep)(notificationOf(name, arguments));
  });
}

void forget(gpointer handler) noexcept {
  const std::unique_ptr<std::shared_ptr<Handler>> owned(
      static_cast<std::shared_ptr<Handler>*>(handler));
}

}  // namespace

struct BusNotificationCenter::Bus {
  explicit Bus(GPtr<GDBusConnection> connected) : connection(std::move(connected)) {}
  ~Bus() { g_dbus_connection_close(connection.get(), nullptr, nullptr, nullptr); }
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  static std::shared_ptr<Bus> connected() {
    const auto address = sessionBusAddress();
    if (!address) return nullptr;
    const Deadline deadline(kPatience);
    GPtr<GDBusConnection> connection(g_dbus_connection_new_for_address_sync(
        address->c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, deadline.cancellable(), nullptr));
    return connection ? std::make_shared<Bus>(std::move(connection)) : nullptr;
  }

  GPtr<GDBusConnection> connection;
};

namespace {

/// A match rule on the bus.
/// Threads: the main thread. Owns: the rule, and a share of the bus. Errors: none.
template <class Bus>
class BusObservation : public DistributedNotificationCenter::Observation {
 public:
  BusObservation(std::shared_ptr<Bus> bus, guint rule) : bus_(std::move(bus)), rule_(rule) {}
  ~BusObservation() override {
    g_dbus_connection_signal_unsubscribe(bus_->connection.get(), rule_);
  }
  BusObservation(const BusObservation&) = delete;
  BusObservation& operator=(const BusObservation&) = delete;

 private:
  std::shared_ptr<Bus> bus_;
  guint rule_;
};

}  // namespace

BusNotificationCenter::BusNotificationCenter() = default;
BusNotificationCenter::~BusNotificationCenter() = default;

const std::shared_ptr<BusNotificationCenter::Bus>& BusNotificationCenter::bus() {
  if (!std::exchange(asked_, true)) bus_ = Bus::connected();
  return bus_;
}

std::unique_ptr<DistributedNotificationCenter::Observation> BusNotificationCenter::observe(
    const std::string& name, const std::optional<std::string>& object, Handler handler) {
  if (!bus() || g_dbus_is_member_name(name.c_str()) == FALSE) return nullptr;
  auto kept =
      std::make_unique<std::shared_ptr<Handler>>(std::make_shared<Handler>(std::move(handler)));
  const guint rule = g_dbus_connection_signal_subscribe(
      bus_->connection.get(), nullptr, kDistributedNotificationInterface, name.c_str(),
      kDistributedNotificationPath, object ? object->c_str() : nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      &received, kept.release(), &forget);
  return std::make_unique<BusObservation<Bus>>(bus_, rule);
}

bool BusNotificationCenter::post(const DistributedNotification& notification) {
  if (!bus() || g_dbus_is_member_name(notification.name.c_str()) == FALSE) return false;
  const auto userInfo = variantOf(notification.userInfo);
  const std::string object = notification.object.value_or("");
  if (g_utf8_validate(object.c_str(), -1, nullptr) == FALSE) return false;
  const bool sent =
      g_dbus_connection_emit_signal(bus_->connection.get(), nullptr, kDistributedNotificationPath,
                                    kDistributedNotificationInterface, notification.name.c_str(),
                                    g_variant_new("(s@a{sv})", object.c_str(), userInfo.get()),
                                    nullptr) != FALSE;
  return sent;
}

bool BusNotificationCenter::flush() {
  if (!bus()) return false;
  const Deadline deadline(kPatience);
  return g_dbus_connection_flush_sync(bus_->connection.get(), deadline.cancellable(), nullptr) !=
         FALSE;
}

}  // namespace wevora::platform
