#include "Platform/IPC/PublishedService.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <map>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <gio/gio.h>

#include "Platform/Base/GObjectPtr.h"
#include "Platform/Base/Guard.h"
#include "Platform/Dispatch/Timer.h"
#include "Platform/IPC/InterfaceDescription.h"
#include "Platform/IPC/SocketLockFile.h"
#include "Platform/IPC/Variants.h"

namespace wevora::platform {
namespace {

constexpr int kBacklog = 16;

/// Generic D-Bus tools send Hello to every peer, as to a bus daemon. The service replies with a
/// dummy unique name so that they work.
constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kUniqueName = ":1.0";
constexpr const char* kBusXml = R"xml(<node>
  <interface name="org.freedesktop.DBus">
    <method name="Hello"><arg direction="out" type="s"/></method>
  </interface>
</node>)xml";

void replyToHello(GDBusConnection* /*peer*/, const gchar* /*sender*/, const gchar* /*path*/,
                  const gchar* /*name*/, const gchar* /*method*/, GVariant* /*arguments*/,
                  GDBusMethodInvocation* invocation, gpointer /*data*/) noexcept {
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", kUniqueName));
}

/// Creates a listening socket under a temporary name and renames it: the name appears atomically.
Descriptor listeningSocket(const std::string& path) {
  const std::string temporary = path + "." + std::to_string(::getpid());
  Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto address = UnixAddress::of(temporary);
  if (!listener || !address) return {};
  ::unlink(temporary.c_str());
  const bool named = ::bind(listener.get(), address->get(), UnixAddress::size()) == 0 &&
                     ::chmod(temporary.c_str(), S_IRUSR | S_IWUSR) == 0 &&
                     ::listen(listener.get(), kBacklog) == 0 &&
                     std::rename(temporary.c_str(), path.c_str()) == 0;
  if (named) return listener;
  ::unlink(temporary.c_str());
  return {};
}

/// A listener whose backlog is full (EAGAIN) still owns the name.
bool isFree(const std::string& path) {
  SocketCalls calls;
  const int error = reachOwnSocket(path, calls).error;
  return error == ENOENT || error == ECONNREFUSED;
}

/// Identifies a file, so that a replacement under the same name is detected.
std::pair<dev_t, ino_t> identityOf(const std::string& path) {
  struct stat facts {};
  if (::lstat(path.c_str(), &facts) != 0) return {};
  return {facts.st_dev, facts.st_ino};
}

}  // namespace

struct PublishedService::State {
  /// Must not move: GDBus keeps its address.
  struct Interface {
    InterfaceDescription description;
    Handler handler;
  };

  /// A peer that has not authenticated yet.
  struct PendingPeer {
    PendingPeer(State& of, std::chrono::milliseconds timeout)
        : state(of),
          cancellable(g_cancellable_new()),
          timer(timeout, [this] { g_cancellable_cancel(cancellable.get()); }) {}
    State& state;
    GObjectPtr<GCancellable> cancellable;
    Timer timer;
  };

  State(std::vector<Offer> offers, std::chrono::milliseconds timeout)
      : authenticationTimeout(timeout) {
    for (auto& [protocol, handler] : offers)
      interfaces.push_back(
          {{protocol.introspectionXml, protocol.interfaceName}, std::move(handler)});
  }
  ~State() {
    for (const auto& pendingPeer : pendingPeers)
      g_cancellable_cancel(pendingPeer->cancellable.get());
    if (service) {
      g_signal_handlers_disconnect_by_data(service.get(), this);
      g_socket_service_stop(service.get());
      g_socket_listener_close(G_SOCKET_LISTENER(service.get()));
    }
    while (!peers.empty()) dropPeer(peers.begin()->first);
    if (!path.empty() && identityOf(path) == identity) ::unlink(path.c_str());
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  bool isComplete() const {
    return !interfaces.empty() &&
           std::all_of(interfaces.begin(), interfaces.end(), [](const Interface& offered) {
             return offered.description.interface() != nullptr;
           });
  }

  bool listen(const std::string& at) {
    const SocketLockFile lock(at);
    if (!lock || !isFree(at)) return false;
    Descriptor listener = listeningSocket(at);
    if (!listener) return false;
    path = at;
    identity = identityOf(at);
    const GObjectPtr<GSocket> socket(g_socket_new_from_fd(listener.get(), nullptr));
    if (!socket) return false;
    listener.release();
    service.reset(g_socket_service_new());
    g_signal_connect(service.get(), "incoming", G_CALLBACK(&State::onIncoming), this);
    return g_socket_listener_add_socket(G_SOCKET_LISTENER(service.get()), socket.get(), nullptr,
                                        nullptr) != FALSE;
  }

  static gboolean onIncoming(GSocketService* /*service*/, GSocketConnection* stream,
                             GObject* /*source*/, gpointer self) noexcept {
    catchAll([&] { static_cast<State*>(self)->authenticate(G_IO_STREAM(stream)); });
    return TRUE;
  }

  void authenticate(GIOStream* stream) {
    static constexpr auto kFlags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_SERVER |
                                          G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_REQUIRE_SAME_USER |
                                          G_DBUS_CONNECTION_FLAGS_DELAY_MESSAGE_PROCESSING);
    pendingPeers.push_back(std::make_shared<PendingPeer>(*this, authenticationTimeout));
    auto pendingPeer = std::make_unique<std::weak_ptr<PendingPeer>>(pendingPeers.back());
    const std::unique_ptr<gchar, decltype(&g_free)> guid(g_dbus_generate_guid(), &g_free);
    g_dbus_connection_new(stream, guid.get(), kFlags, nullptr,
                          pendingPeers.back()->cancellable.get(), &State::onAuthenticated,
                          pendingPeer.release());
  }

  static void onAuthenticated(GObject* /*source*/, GAsyncResult* result, gpointer weak) noexcept {
    const std::unique_ptr<std::weak_ptr<PendingPeer>> held(
        static_cast<std::weak_ptr<PendingPeer>*>(weak));
    GObjectPtr<GDBusConnection> peer(g_dbus_connection_new_finish(result, nullptr));
    const auto pendingPeer = held->lock();
    if (!pendingPeer) return;  // the service has been destroyed
    auto& state = pendingPeer->state;
    std::erase(state.pendingPeers, pendingPeer);
    if (!peer || g_dbus_connection_is_closed(peer.get()) != FALSE) return;
    catchAll([&] { state.acceptPeer(std::move(peer)); });
  }

  void acceptPeer(GObjectPtr<GDBusConnection> peer) {
    static constexpr GDBusInterfaceVTable kTable = {
        &State::onMethodCall, &State::onPropertyRead, nullptr, {}};
    static constexpr GDBusInterfaceVTable kBusTable = {&replyToHello, nullptr, nullptr, {}};
    std::vector<guint> objects{g_dbus_connection_register_object(
        peer.get(), kBusPath, bus.interface(), &kBusTable, nullptr, nullptr, nullptr)};
    for (auto& offered : interfaces)
      objects.push_back(g_dbus_connection_register_object(
          peer.get(), "/", offered.description.interface(), &kTable, &offered, nullptr, nullptr));
    g_signal_connect(peer.get(), "closed", G_CALLBACK(&State::onClosed), this);
    auto* held = peer.release();
    peers[held] = std::move(objects);
    g_dbus_connection_start_message_processing(held);
  }

  static void onClosed(GDBusConnection* peer, gboolean /*vanished*/, GError* /*reason*/,
                       gpointer self) noexcept {
    catchAll([&] { static_cast<State*>(self)->dropPeer(peer); });
  }

  void dropPeer(GDBusConnection* peer) {
    const auto place = peers.find(peer);
    if (place == peers.end()) return;
    for (const guint object : place->second) g_dbus_connection_unregister_object(peer, object);
    peers.erase(place);
    g_signal_handlers_disconnect_by_data(peer, this);
    g_dbus_connection_close(peer, nullptr, nullptr, nullptr);
    g_object_unref(peer);
  }

  static void onMethodCall(GDBusConnection* /*peer*/, const gchar* /*sender*/,
                           const gchar* /*path*/, const gchar* /*name*/, const gchar* method,
                           GVariant* arguments, GDBusMethodInvocation* invocation,
                           gpointer offered) noexcept {
    const auto* interface = static_cast<Interface*>(offered);
    const VariantPtr reply(catchAllOr<GVariant*>(nullptr, [&]() -> GVariant* {
      const auto given = membersOf(arguments);
      const auto members = given ? interface->handler(method, *given) : std::nullopt;
      const auto* info = interface->description.method(method);
      return members && info != nullptr ? tupleOf(*members, info->out_args) : nullptr;
    }));
    if (reply)
      g_dbus_method_invocation_return_value(invocation, reply.get());
    else
      g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                                            "method '%s' failed", method);
  }

  static GVariant* onPropertyRead(GDBusConnection* /*peer*/, const gchar* /*sender*/,
                                  const gchar* /*path*/, const gchar* /*name*/,
                                  const gchar* property, GError** error,
                                  gpointer offered) noexcept {
    const auto* interface = static_cast<Interface*>(offered);
    VariantPtr value(catchAllOr<GVariant*>(nullptr, [&]() -> GVariant* {
      const auto members = interface->handler(property, {});
      const auto* info =
          g_dbus_interface_info_lookup_property(interface->description.interface(), property);
      if (!members || members->empty() || info == nullptr) return nullptr;
      return variantOf(members->front(), info->signature).release();
    }));
    if (!value)
      g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_FAILED, "cannot read property '%s'", property);
    return value.release();
  }

  const InterfaceDescription bus{kBusXml, "org.freedesktop.DBus"};
  std::vector<Interface> interfaces;
  const std::chrono::milliseconds authenticationTimeout;
  std::string path;
  std::pair<dev_t, ino_t> identity;
  GObjectPtr<GSocketService> service;
  std::vector<std::shared_ptr<PendingPeer>> pendingPeers;
  std::map<GDBusConnection*, std::vector<guint>> peers;  // owns a reference; registered object ids
};

std::unique_ptr<PublishedService> PublishedService::publish(
    const std::string& name, std::vector<Offer> offers, const std::string& folder,
    std::chrono::milliseconds authenticationTimeout) {
  const auto path = socketPath(folder, name);
  auto state = std::make_unique<State>(std::move(offers), authenticationTimeout);
  if (!path || !state->isComplete() || !state->listen(*path)) return nullptr;
  return std::unique_ptr<PublishedService>(new PublishedService(std::move(state)));
}

std::unique_ptr<PublishedService> PublishedService::publish(const std::string& name,
                                                            const WireProtocol& protocol,
                                                            Handler handler,
                                                            const std::string& folder) {
  return publish(name, std::vector<Offer>{{protocol, std::move(handler)}}, folder);
}

PublishedService::PublishedService(std::unique_ptr<State> state) : state_(std::move(state)) {}
PublishedService::~PublishedService() = default;

std::size_t PublishedService::peers() const {
  return state_->peers.size();
}

}  // namespace wevora::platform
