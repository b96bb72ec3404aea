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

constexpr std::chrono::seconds kPatience{2};
constexpr std::chrono::milliseconds kFirstDelay{250};
constexpr std::chrono::milliseconds kLongestDelay = std::chrono::minutes(1);

constexpr auto kFlags = static_cast<GDBusConnectionFlags>(
    G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

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

/// Where the threads that read find who listens, for as long as somebody does: a filter may still
/// run when it has been taken away.
/// Threads: any. Owns: nothing but the list. Errors: none; what comes for nobody is dropped.
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
                                           std::function<void()> reached)
    : inbox_(inboxes().open(dispatcher)), reached_(std::move(reached)), delay_(kFirstDelay) {}

SessionBusConnection::~SessionBusConnection() {
  inboxes().close(inbox_);
  if (attempt_) g_cancellable_cancel(attempt_.get());
  letGo();
}

GDBusConnection* SessionBusConnection::connection() {
  if (std::exchange(asked_, true)) return connection_.get();
  if (const auto address = sessionBusAddress()) {
    const Deadline deadline(kPatience);
    use(GObjectPtr<GDBusConnection>(g_dbus_connection_new_for_address_sync(
        address->c_str(), kFlags, nullptr, deadline.cancellable(), nullptr)));
  }
  if (!connection_) scheduleReconnect();
  return connection_.get();
}

void SessionBusConnection::tell(const char* method, const std::string& rule) {
  // Nobody waits for the answer: a bus that does not take the rule sends nothing.
  if (connection_)
    g_dbus_connection_call(connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", method, g_variant_new("(s)", rule.c_str()),
                           nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

GDBusMessage* SessionBusConnection::read(GDBusConnection* /*bus*/, GDBusMessage* message,
                                         gboolean incoming, gpointer inbox) noexcept {
  if (incoming == FALSE || !isNotification(message)) return message;
  catchAll([&] {
    inboxes().add(GPOINTER_TO_SIZE(inbox), g_dbus_message_get_member(message),
                  argumentsOf(message));
  });
  g_object_unref(message);
  return nullptr;
}

void SessionBusConnection::use(GObjectPtr<GDBusConnection> bus) {
  if (!bus || g_dbus_connection_is_closed(bus.get()) != FALSE) return;
  connection_ = std::move(bus);
  delay_ = kFirstDelay;
  closed_ = g_signal_connect(connection_.get(), "closed", G_CALLBACK(&SessionBusConnection::closed),
                             this);
  filter_ = g_dbus_connection_add_filter(connection_.get(), &SessionBusConnection::read,
                                         GSIZE_TO_POINTER(inbox_), nullptr);
}

void SessionBusConnection::letGo() {
  if (!connection_) return;
  g_signal_handler_disconnect(connection_.get(), closed_);
  g_dbus_connection_remove_filter(connection_.get(), filter_);
  g_dbus_connection_close(connection_.get(), nullptr, nullptr, nullptr);
  connection_.reset();
}

void SessionBusConnection::closed(GDBusConnection* /*bus*/, gboolean /*vanished*/,
                                  GError* /*reason*/, gpointer self) noexcept {
  catchAll([&] {
    auto* link = static_cast<SessionBusConnection*>(self);
    link->letGo();
    link->scheduleReconnect();
  });
}

void SessionBusConnection::scheduleReconnect() {
  timer_.emplace(delay_, [this] { look(); });
  delay_ = std::min(delay_ * 2, kLongestDelay);
}

/// Nothing here waits: the main thread is the host's.
void SessionBusConnection::look() {
  const auto address = sessionBusAddress();
  if (!address) return scheduleReconnect();
  attempt_.reset(g_cancellable_new());
  timer_.emplace(kPatience, [attempt = attempt_.get()] { g_cancellable_cancel(attempt); });
  auto self = std::make_unique<std::weak_ptr<SessionBusConnection>>(weak_from_this());
  g_dbus_connection_new_for_address(address->c_str(), kFlags, nullptr, attempt_.get(),
                                    &SessionBusConnection::answered, self.release());
}

void SessionBusConnection::answered(GObject* /*source*/, GAsyncResult* result,
                                    gpointer weak) noexcept {
  const std::unique_ptr<std::weak_ptr<SessionBusConnection>> owned(
      static_cast<std::weak_ptr<SessionBusConnection>*>(weak));
  GObjectPtr<GDBusConnection> bus(g_dbus_connection_new_for_address_finish(result, nullptr));
  catchAll([&] {
    if (const auto self = owned->lock()) self->found(std::move(bus));
  });
}

void SessionBusConnection::found(GObjectPtr<GDBusConnection> bus) {
  attempt_.reset();
  timer_.reset();
  use(std::move(bus));
  if (connection_)
    reached_();
  else
    scheduleReconnect();
}

}  // namespace wevora::platform
