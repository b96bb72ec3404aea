#include "Platform/DistributedNotifications/BusNotificationCenter.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <gio/gio.h>

#include "Platform/DistributedNotifications/Deliveries.h"
#include "Platform/DistributedObjects/Deadline.h"
#include "Platform/DistributedObjects/ServiceNames.h"
#include "Platform/Support/Guard.h"
#include "Platform/Variants/Variants.h"

namespace wevora::platform {
namespace {

constexpr std::chrono::seconds kPatience{2};

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

bool isUtf8(const std::string& text) {
  return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

/// A text as a match rule has it: an apostrophe stands outside of the quotes.
std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

std::string matchRule(const std::string& name, const std::optional<std::string>& object) {
  std::string rule = std::string("type='signal',interface='") + kDistributedNotificationInterface +
                     "',path='" + kDistributedNotificationPath + "',member='" + name + "'";
  if (object) rule += ",arg0=" + quoted(*object);
  return rule;
}

/// The bus ends the connection of who sends what is nested more deeply than 64 containers; each of
/// ours is up to three of them.
constexpr int kDeepest = 16;

bool fits(const Value& value, int depth);

bool fits(const Array& values, int depth) {
  return depth < kDeepest && std::ranges::all_of(values, [depth](const Value& value) {
           return fits(value, depth + 1);
         });
}

bool fits(const Dictionary& entries, int depth) {
  return depth < kDeepest && std::ranges::all_of(entries, [depth](const auto& entry) {
           return fits(entry.second, depth + 1);
         });
}

bool fits(const Value& value, int depth) {
  if (const auto* values = value.as<Array>()) return fits(*values, depth);
  if (const auto* entries = value.as<Dictionary>()) return fits(*entries, depth);
  return true;
}

/// What the bus calls for a rule. The observer's handler ends with its observation, before the
/// rule does.
struct Receiver {
  std::weak_ptr<Handler> handler;
  std::shared_ptr<Deliveries> deliveries;
};

void received(GDBusConnection* /*bus*/, const gchar* /*sender*/, const gchar* /*path*/,
              const gchar* /*interface*/, const gchar* name, GVariant* arguments,
              gpointer receiver) noexcept {
  swallowing([&] {
    const auto& observer = *static_cast<Receiver*>(receiver);
    observer.deliveries->add(observer.handler, name, VariantPtr(g_variant_ref(arguments)));
  });
}

void forget(gpointer receiver) noexcept {
  const std::unique_ptr<Receiver> owned(static_cast<Receiver*>(receiver));
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

  /// Nobody waits for the answer: a bus that does not take the rule sends nothing.
  void tell(const char* method, const std::string& rule) const {
    g_dbus_connection_call(connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", method, g_variant_new("(s)", rule.c_str()),
                           nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
  }

  GPtr<GDBusConnection> connection;
  const std::shared_ptr<Deliveries> deliveries = std::make_shared<Deliveries>();
};

namespace {

/// A match rule on the bus, and what the connection calls for it. The connection's own rules are of
/// no use: they do not stand an apostrophe in an object, and a bus that is gone makes it complain.
/// Threads: the main thread. Owns: the rule, the handler, and a share of the bus. Errors: none.
template <class Bus>
class BusObservation : public DistributedNotificationCenter::Observation {
 public:
  BusObservation(std::shared_ptr<Bus> bus, std::shared_ptr<Handler> handler, guint subscription,
                 std::string rule)
      : bus_(std::move(bus)),
        handler_(std::move(handler)),
        subscription_(subscription),
        rule_(std::move(rule)) {
    bus_->tell("AddMatch", rule_);
  }
  ~BusObservation() override {
    g_dbus_connection_signal_unsubscribe(bus_->connection.get(), subscription_);
    bus_->tell("RemoveMatch", rule_);
  }
  BusObservation(const BusObservation&) = delete;
  BusObservation& operator=(const BusObservation&) = delete;

 private:
  std::shared_ptr<Bus> bus_;
  std::shared_ptr<Handler> handler_;
  guint subscription_;
  std::string rule_;
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
  if (object && !isUtf8(*object)) return nullptr;
  auto kept = std::make_shared<Handler>(std::move(handler));
  auto receiver = std::make_unique<Receiver>(Receiver{kept, bus_->deliveries});
  const guint subscription = g_dbus_connection_signal_subscribe(
      bus_->connection.get(), nullptr, kDistributedNotificationInterface, name.c_str(),
      kDistributedNotificationPath, object ? object->c_str() : nullptr,
      G_DBUS_SIGNAL_FLAGS_NO_MATCH_RULE, &received, receiver.release(), &forget);
  return std::make_unique<BusObservation<Bus>>(bus_, std::move(kept), subscription,
                                               matchRule(name, object));
}

bool BusNotificationCenter::post(const DistributedNotification& notification) {
  if (!bus() || g_dbus_is_member_name(notification.name.c_str()) == FALSE) return false;
  const std::string object = notification.object.value_or("");
  if (!isUtf8(object) || !fits(notification.userInfo, 0)) return false;
  const auto userInfo = variantOf(notification.userInfo);
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
