#include "Platform/IPC/SessionBusConnection.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

#include "Platform/Base/Guard.h"
#include "Platform/Base/Mutex.h"
#include "Platform/Dispatch/Deadline.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/ServiceNames.h"

namespace wevora::platform {
namespace {

constexpr auto kFlags = static_cast<GDBusConnectionFlags>(
    G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

/// The address of the session bus; nullopt if there is none. Never autostarts a bus.
std::optional<std::string> sessionBusAddress() {
  if (const char* address = g_getenv("DBUS_SESSION_BUS_ADDRESS"))
    return *address == '\0' ? std::nullopt : std::optional<std::string>(address);
  const std::string path = userRuntimeFolder() + "/bus";
  if (!connectToOwnSocket(path)) return std::nullopt;
  const std::unique_ptr<gchar, decltype(&g_free)> escaped(g_dbus_address_escape_value(path.c_str()),
                                                          &g_free);
  return "unix:path=" + std::string(escaped.get());
}

bool isNotification(GDBusMessage* message) {
  const auto is = [](const char* text, const char* wanted) {
    return text != nullptr && std::strcmp(text, wanted) == 0;
  };
  return g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_SIGNAL &&
         is(g_dbus_message_get_interface(message), kDistributedNotificationInterface) &&
         is(g_dbus_message_get_path(message), kDistributedNotificationPath) &&
         g_dbus_message_get_member(message) != nullptr;
}

VariantPtr argumentsOf(GDBusMessage* message) {
  GVariant* body = g_dbus_message_get_body(message);
  return VariantPtr(body != nullptr ? g_variant_ref(body)
                                    : g_variant_ref_sink(g_variant_new_tuple(nullptr, 0)));
}

/// Maps inbox ids to dispatchers for GDBus's reading threads. A message filter may still run after
/// its removal, so it holds an id instead of a pointer.
/// Thread-safety: any thread. `mutex_` is held while a dispatcher queues a notification.
/// Errors: drops notifications for a closed inbox.
class Inboxes {
 public:
  std::size_t open(NotificationDispatcher& dispatcher) {
    const MutexLock lock(mutex_);
    open_[++last_] = &dispatcher;
    return last_;
  }
  void close(std::size_t inbox) {
    const MutexLock lock(mutex_);
    open_.erase(inbox);
  }
  void add(std::size_t inbox, std::string name, VariantPtr arguments) {
    const MutexLock lock(mutex_);
    if (const auto found = open_.find(inbox); found != open_.end())
      found->second->add(std::move(name), std::move(arguments));
  }

 private:
  Mutex mutex_;
  std::size_t last_ GUARDED_BY(mutex_) = 0;
  std::map<std::size_t, NotificationDispatcher*> open_ GUARDED_BY(mutex_);
};

Inboxes& inboxes() {
  static NeverDestroyed<Inboxes> all;
  return *all;
}

}  // namespace

SessionBusConnection::SessionBusConnection(NotificationDispatcher& dispatcher,
                                           std::function<void()> reconnected)
    : inbox_(inboxes().open(dispatcher)), reconnected_(std::move(reconnected)) {}

SessionBusConnection::~SessionBusConnection() {
  inboxes().close(inbox_);
  if (pendingConnect_) g_cancellable_cancel(pendingConnect_.get());
  disconnect();
}

GDBusConnection* SessionBusConnection::connection() {
  if (std::exchange(attempted_, true)) return connection_.get();
  if (const auto address = sessionBusAddress()) {
    const Deadline deadline(kConnectTimeout);
    adopt(GObjectPtr<GDBusConnection>(g_dbus_connection_new_for_address_sync(
        address->c_str(), kFlags, nullptr, deadline.cancellable(), nullptr)));
  }
  if (!connection_) scheduleReconnect();
  return connection_.get();
}

void SessionBusConnection::callWithoutReply(const char* method, const std::string& rule) {
  // The reply is of no use: if the bus rejects the rule, no signals arrive.
  if (connection_)
    g_dbus_connection_call(connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", method, g_variant_new("(s)", rule.c_str()),
                           nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

GDBusMessage* SessionBusConnection::filterMessage(GDBusConnection* /*bus*/, GDBusMessage* message,
                                                  gboolean incoming, gpointer inbox) noexcept {
  if (incoming == FALSE || !isNotification(message)) return message;
  catchAll([&] {
    inboxes().add(GPOINTER_TO_SIZE(inbox), g_dbus_message_get_member(message),
                  argumentsOf(message));
  });
  g_object_unref(message);
  return nullptr;
}

void SessionBusConnection::adopt(GObjectPtr<GDBusConnection> bus) {
  if (!bus || g_dbus_connection_is_closed(bus.get()) != FALSE) return;
  connection_ = std::move(bus);
  reconnectDelay_ = kFirstReconnectDelay;
  closedHandler_ = g_signal_connect(connection_.get(), "closed",
                                    G_CALLBACK(&SessionBusConnection::onClosed), this);
  filter_ = g_dbus_connection_add_filter(connection_.get(), &SessionBusConnection::filterMessage,
                                         GSIZE_TO_POINTER(inbox_), nullptr);
}

void SessionBusConnection::disconnect() {
  if (!connection_) return;
  g_signal_handler_disconnect(connection_.get(), closedHandler_);
  g_dbus_connection_remove_filter(connection_.get(), filter_);
  g_dbus_connection_close(connection_.get(), nullptr, nullptr, nullptr);
  connection_.reset();
}

void SessionBusConnection::onClosed(GDBusConnection* /*bus*/, gboolean /*vanished*/,
                                    GError* /*reason*/, gpointer self) noexcept {
  catchAll([&] {
    auto* connection = static_cast<SessionBusConnection*>(self);
    connection->disconnect();
    connection->scheduleReconnect();
  });
}

void SessionBusConnection::scheduleReconnect() {
  timer_.emplace(reconnectDelay_, [this] { connect(); });
  reconnectDelay_ = std::min(reconnectDelay_ * 2, kMaxReconnectDelay);
}

/// Asynchronous: must not block the host's main thread.
void SessionBusConnection::connect() {
  const auto address = sessionBusAddress();
  if (!address) return scheduleReconnect();
  pendingConnect_.reset(g_cancellable_new());
  timer_.emplace(kConnectTimeout,
                 [pending = pendingConnect_.get()] { g_cancellable_cancel(pending); });
  auto self = std::make_unique<std::weak_ptr<SessionBusConnection>>(weak_from_this());
  g_dbus_connection_new_for_address(address->c_str(), kFlags, nullptr, pendingConnect_.get(),
                                    &SessionBusConnection::onConnectFinished, self.release());
}

void SessionBusConnection::onConnectFinished(GObject* /*source*/, GAsyncResult* result,
                                             gpointer weak) noexcept {
  const std::unique_ptr<std::weak_ptr<SessionBusConnection>> owned(
      static_cast<std::weak_ptr<SessionBusConnection>*>(weak));
  GObjectPtr<GDBusConnection> bus(g_dbus_connection_new_for_address_finish(result, nullptr));
  catchAll([&] {
    if (const auto self = owned->lock()) self->connectFinished(std::move(bus));
  });
}

void SessionBusConnection::connectFinished(GObjectPtr<GDBusConnection> bus) {
  pendingConnect_.reset();
  timer_.reset();
  adopt(std::move(bus));
  if (connection_)
    reconnected_();
  else
    scheduleReconnect();
}

}  // namespace wevora::platform
