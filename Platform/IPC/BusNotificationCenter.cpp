#include "Platform/IPC/BusNotificationCenter.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <gio/gio.h>

#include "Platform/Base/Strings.h"
#include "Platform/Dispatch/Deadline.h"
#include "Platform/IPC/NotificationDispatcher.h"
#include "Platform/IPC/Observers.h"
#include "Platform/IPC/SessionBusConnection.h"
#include "Platform/IPC/Variants.h"

namespace wevora::platform {
namespace {

/// Quotes a text for a match rule; an apostrophe must be outside the quotes.
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

/// The bus disconnects a sender whose message is nested more deeply than 64 containers. Each of our
/// containers uses up to three D-Bus containers.
constexpr int kMaxDepth = 16;

bool fits(const Value& value, int depth);

bool fits(const Array& values, int depth) {
  return depth < kMaxDepth && std::ranges::all_of(values, [depth](const Value& value) {
           return fits(value, depth + 1);
         });
}

bool fits(const Dictionary& entries, int depth) {
  return depth < kMaxDepth && std::ranges::all_of(entries, [depth](const auto& entry) {
           return fits(entry.second, depth + 1);
         });
}

bool fits(const Value& value, int depth) {
  if (const auto* values = value.as<Array>()) return fits(*values, depth);
  if (const auto* entries = value.as<Dictionary>()) return fits(*entries, depth);
  return true;
}

}  // namespace

/// The state of the center. Observations hold it weakly, because they may outlive the center.
struct BusNotificationCenter::State {
  State()
      : dispatcher([this](const DistributedNotification& one) { observers.deliver(one); }),
        connection(std::make_shared<SessionBusConnection>(dispatcher, [this] { restoreRules(); })) {
  }

  /// A restarted bus has no match rules of ours.
  void restoreRules() {
    for (const auto& observer : observers.all())
      connection->callWithoutReply("AddMatch", matchRule(observer->name, observer->object));
  }

  Observers observers;
  NotificationDispatcher dispatcher;
  const std::shared_ptr<SessionBusConnection> connection;
};

/// An observer and its match rule on the bus; the destructor removes both. Does not use
/// g_dbus_connection_signal_subscribe: it does not escape an apostrophe in the object, and it logs
/// warnings when the bus is gone.
class BusNotificationCenter::BusObservation : public Observation {
 public:
  BusObservation(std::weak_ptr<State> state, std::shared_ptr<const Observers::Observer> observer)
      : state_(std::move(state)), observer_(std::move(observer)) {}
  ~BusObservation() override {
    const auto rule = matchRule(observer_->name, observer_->object);
    observer_.reset();
    if (const auto state = state_.lock()) state->connection->callWithoutReply("RemoveMatch", rule);
  }
  BusObservation(const BusObservation&) = delete;
  BusObservation& operator=(const BusObservation&) = delete;

 private:
  std::weak_ptr<State> state_;
  std::shared_ptr<const Observers::Observer> observer_;
};

BusNotificationCenter::BusNotificationCenter() : state_(std::make_shared<State>()) {}
BusNotificationCenter::~BusNotificationCenter() = default;

std::unique_ptr<DistributedNotificationCenter::Observation> BusNotificationCenter::observe(
    const std::string& name, const std::optional<std::string>& object, Handler handler) {
  if (g_dbus_is_member_name(name.c_str()) == FALSE || (object && !isUtf8(*object))) return nullptr;
  state_->connection->connection();  // the first use connects to the bus
  auto observer = state_->observers.add({name, object, std::move(handler)});
  state_->connection->callWithoutReply("AddMatch", matchRule(name, object));
  return std::make_unique<BusObservation>(state_, std::move(observer));
}

bool BusNotificationCenter::post(const DistributedNotification& notification) {
  auto* bus = state_->connection->connection();
  if (bus == nullptr || g_dbus_is_member_name(notification.name.c_str()) == FALSE) return false;
  const std::string object = notification.object.value_or("");
  if (!isUtf8(object) || !fits(notification.userInfo, 0)) return false;
  const auto userInfo = variantOf(notification.userInfo);
  return g_dbus_connection_emit_signal(bus, nullptr, kDistributedNotificationPath,
                                       kDistributedNotificationInterface, notification.name.c_str(),
                                       g_variant_new("(s@a{sv})", object.c_str(), userInfo.get()),
                                       nullptr) != FALSE;
}

bool BusNotificationCenter::flush() {
  auto* bus = state_->connection->connection();
  if (bus == nullptr) return false;
  const Deadline deadline(kFlushTimeout);
  return g_dbus_connection_flush_sync(bus, deadline.cancellable(), nullptr) != FALSE;
}

}  // namespace wevora::platform
