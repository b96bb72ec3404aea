#include "Platform/DistributedObjects/PublishedService.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include <gio/gio.h>

#include "Platform/DistributedObjects/Deadline.h"
#include "Platform/DistributedObjects/InterfaceDescription.h"
#include "Platform/Support/Guard.h"
#include "Platform/Variants/Variants.h"

namespace wevora::platform {
namespace {

constexpr int kBacklog = 16;

/// A listening socket under a name, put there in one step: nobody finds it half made.
Descriptor listeningSocket(const std::string& path) {
  const std::string made = path + "." + std::to_string(::getpid());
  Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (!listener || made.size() >= sizeof address.sun_path) return {};
  std::memcpy(address.sun_path, made.data(), made.size());
  ::unlink(made.c_str());
  const bool named =
      ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      ::chmod(made.c_str(), S_IRUSR | S_IWUSR) == 0 && ::listen(listener.get(), kBacklog) == 0 &&
      std::rename(made.c_str(), path.c_str()) == 0;
  if (named) return listener;
  ::unlink(made.c_str());
  return {};
}

/// What tells a file from another that took its name.
std::pair<dev_t, ino_t> identityOf(const std::string& path) {
  struct stat facts {};
  if (::lstat(path.c_str(), &facts) != 0) return {};
  return {facts.st_dev, facts.st_ino};
}

}  // namespace

struct PublishedService::State {
  State(const WireProtocol& protocol, Handler answer)
      : description(protocol.introspectionXml, protocol.interfaceName),
        handler(std::move(answer)),
        cancellable(g_cancellable_new()) {}
  ~State() {
    g_cancellable_cancel(cancellable.get());
    if (service) {
      g_signal_handlers_disconnect_by_data(service.get(), this);
      g_socket_service_stop(service.get());
      g_socket_listener_close(G_SOCKET_LISTENER(service.get()));
    }
    while (!peers.empty()) forget(peers.begin()->first);
    if (!path.empty() && identityOf(path) == identity) ::unlink(path.c_str());
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  bool listen(const std::string& at) {
    if (connectToOwnSocket(at)) return false;  // somebody is there
    Descriptor listener = listeningSocket(at);
    if (!listener) return false;
    path = at;
    identity = identityOf(at);
    const GPtr<GSocket> socket(g_socket_new_from_fd(listener.get(), nullptr));
    if (!socket) return false;
    listener.release();
    service.reset(g_socket_service_new());
    g_signal_connect(service.get(), "incoming", G_CALLBACK(&State::incoming), this);
    return g_socket_listener_add_socket(G_SOCKET_LISTENER(service.get()), socket.get(), nullptr,
                                        nullptr) != FALSE;
  }

  static gboolean incoming(GSocketService* /*service*/, GSocketConnection* stream,
                           GObject* /*source*/, gpointer self) noexcept {
    const auto* state = static_cast<State*>(self);
    gchar* guid = g_dbus_generate_guid();
    const auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_SERVER |
                                          G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_REQUIRE_SAME_USER |
                                          G_DBUS_CONNECTION_FLAGS_DELAY_MESSAGE_PROCESSING);
    g_dbus_connection_new(G_IO_STREAM(stream), guid, flags, nullptr, state->cancellable.get(),
                          &State::authenticated, self);
    g_free(guid);
    return TRUE;
  }

  static void authenticated(GObject* /*source*/, GAsyncResult* result, gpointer self) noexcept {
    GError* failed = nullptr;
    GPtr<GDBusConnection> peer(g_dbus_connection_new_finish(result, &failed));
    if (failed != nullptr) {
      // Where the service is gone, so is the state.
      g_error_free(failed);
      return;
    }
    if (g_dbus_connection_is_closed(peer.get()) != FALSE) return;
    swallowing([&] { static_cast<State*>(self)->welcome(std::move(peer)); });
  }

  void welcome(GPtr<GDBusConnection> peer) {
    static constexpr GDBusInterfaceVTable kTable = {&State::called, &State::read, nullptr, {}};
    const guint object = g_dbus_connection_register_object(peer.get(), "/", description.interface(),
                                                           &kTable, this, nullptr, nullptr);
    g_signal_connect(peer.get(), "closed", G_CALLBACK(&State::closed), this);
    auto* bus = peer.release();
    peers[bus] = object;
    g_dbus_connection_start_message_processing(bus);
  }

  static void closed(GDBusConnection* peer, gboolean /*vanished*/, GError* /*reason*/,
                     gpointer self) noexcept {
    swallowing([&] { static_cast<State*>(self)->forget(peer); });
  }

  void forget(GDBusConnection* peer) {
    const auto place = peers.find(peer);
    if (place == peers.end()) return;
    g_dbus_connection_unregister_object(peer, place->second);
    peers.erase(place);
    g_signal_handlers_disconnect_by_data(peer, this);
    g_dbus_connection_close(peer, nullptr, nullptr, nullptr);
    g_object_unref(peer);
  }

  std::optional<Array> answerOf(const std::string& method, GVariant* arguments) const {
    auto members = membersOf(arguments);
    return members ? handler(method, *members) : std::nullopt;
  }

  static void called(GDBusConnection* /*peer*/, const gchar* /*sender*/, const gchar* /*path*/,
                     const gchar* /*interface*/, const gchar* method, GVariant* arguments,
                     GDBusMethodInvocation* invocation, gpointer self) noexcept {
    const auto* state = static_cast<State*>(self);
    const VariantPtr answer(swallowingOr<GVariant*>(nullptr, [&]() -> GVariant* {
      const auto members = state->answerOf(method, arguments);
      const auto* info = state->description.method(method);
      return members && info != nullptr ? tupleOf(*members, info->out_args) : nullptr;
    }));
    if (answer)
      g_dbus_method_invocation_return_value(invocation, answer.get());
    else
      g_dbus_method_invocation_return_error_literal(invocation, G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                                                    "the call could not be answered");
  }

  static GVariant* read(GDBusConnection* /*peer*/, const gchar* /*sender*/, const gchar* /*path*/,
                        const gchar* /*interface*/, const gchar* property, GError** error,
                        gpointer self) noexcept {
    const auto* state = static_cast<State*>(self);
    VariantPtr value(swallowingOr<GVariant*>(nullptr, [&]() -> GVariant* {
      const auto members = state->handler(property, {});
      const auto* info =
          g_dbus_interface_info_lookup_property(state->description.interface(), property);
      if (!members || members->empty() || info == nullptr) return nullptr;
      return variantOf(members->front(), info->signature).release();
    }));
    if (!value)
      g_set_error_literal(error, G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                          "the property could not be read");
    return value.release();
  }

  InterfaceDescription description;
  Handler handler;
  GPtr<GCancellable> cancellable;
  std::string path;
  std::pair<dev_t, ino_t> identity;
  GPtr<GSocketService> service;
  std::map<GDBusConnection*, guint> peers;  // each with a reference, and its object's number
};

std::unique_ptr<PublishedService> PublishedService::publish(const std::string& name,
                                                            const WireProtocol& protocol,
                                                            Handler handler,
                                                            const std::string& folder) {
  const auto path = socketPath(folder, name);
  auto state = std::make_unique<State>(protocol, std::move(handler));
  if (!path || state->description.interface() == nullptr || !state->listen(*path)) return nullptr;
  return std::unique_ptr<PublishedService>(new PublishedService(std::move(state)));
}

PublishedService::PublishedService(std::unique_ptr<State> state) : state_(std::move(state)) {}
PublishedService::~PublishedService() = default;

std::size_t PublishedService::peers() const {
  return state_->peers.size();
}

}  // namespace wevora::platform
