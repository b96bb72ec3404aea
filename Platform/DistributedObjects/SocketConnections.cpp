#include "Platform/DistributedObjects/SocketConnections.h"

#include <atomic>
#include <map>
#include <utility>

#include <gio/gio.h>

#include "Platform/DistributedObjects/InterfaceDescription.h"
#include "Platform/GLib/Deadline.h"
#include "Platform/Support/Guard.h"
#include "Platform/Variants/Variants.h"

namespace wevora::platform {
namespace {

constexpr const char* kRootPath = "/";

/// A socket that a service has accepted us on.
/// Threads: one. Owns: the socket. Errors: none.
struct SocketPort : SendPort {
  explicit SocketPort(Descriptor accepted) : socket(std::move(accepted)) {}
  Descriptor socket;
};

/// The road to a peer, shared by a connection and its proxies.
/// Threads: any. Owns: the bus connection. Errors: null where a call has no answer.
class Road {
 public:
  Road(GPtr<GDBusConnection> bus, std::chrono::milliseconds patience)
      : bus_(std::move(bus)), patience_(patience) {}
  ~Road() { close(); }
  Road(const Road&) = delete;
  Road& operator=(const Road&) = delete;

  GDBusConnection* bus() const noexcept { return bus_.get(); }

  VariantPtr call(const std::string& interface, const std::string& method, GVariant* arguments,
                  const std::string& answerType) {
    if (closed_.load()) return nullptr;
    GError* failed = nullptr;
    VariantPtr answer(g_dbus_connection_call_sync(
        bus_.get(), nullptr, kRootPath, interface.c_str(), method.c_str(), arguments,
        G_VARIANT_TYPE(answerType.c_str()), G_DBUS_CALL_FLAGS_NONE,
        static_cast<gint>(patience_.count()), nullptr, &failed));
    if (failed == nullptr) return answer;
    const bool unanswered = g_error_matches(failed, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != FALSE;
    g_error_free(failed);
    if (unanswered) close();
    return nullptr;
  }

 private:
  void close() {
    if (!closed_.exchange(true)) g_dbus_connection_close(bus_.get(), nullptr, nullptr, nullptr);
  }

  GPtr<GDBusConnection> bus_;
  std::chrono::milliseconds patience_;
  std::atomic<bool> closed_{false};
};

class SocketProxy : public RootProxy {
 public:
  explicit SocketProxy(std::shared_ptr<Road> road) : road_(std::move(road)) {}

  bool conformsToProtocol(const WireProtocol& protocol) override {
    const auto answer =
        road_->call("org.freedesktop.DBus.Introspectable", "Introspect", nullptr, "(s)");
    if (!answer) return false;
    const VariantPtr text(g_variant_get_child_value(answer.get(), 0));
    const InterfaceDescription wanted(protocol.introspectionXml, protocol.interfaceName);
    const InterfaceDescription found(g_variant_get_string(text.get(), nullptr),
                                     protocol.interfaceName);
    return wanted.isContainedIn(found);
  }

  std::optional<Array> call(const WireProtocol& protocol, std::string_view method,
                            const Array& arguments) override {
    const std::string name(method);
    const InterfaceDescription description(protocol.introspectionXml, protocol.interfaceName);
    const auto* wanted = description.method(name);
    if (wanted == nullptr) return std::nullopt;
    const VariantPtr tuple(tupleOf(arguments, wanted->in_args));
    if (!tuple) return std::nullopt;
    const auto answer =
        road_->call(protocol.interfaceName, name, tuple.get(), tupleSignature(wanted->out_args));
    return answer ? membersOf(answer.get()) : std::nullopt;
  }

 private:
  std::shared_ptr<Road> road_;
};

class SocketConnection : public Connection {
 public:
  SocketConnection(std::shared_ptr<Road> road, LocalNotificationCenter& center)
      : road_(std::move(road)),
        center_(center),
        closed_(g_signal_connect(road_->bus(), "closed", G_CALLBACK(&SocketConnection::closed),
                                 this)) {}
  ~SocketConnection() override { g_signal_handler_disconnect(road_->bus(), closed_); }
  SocketConnection(const SocketConnection&) = delete;
  SocketConnection& operator=(const SocketConnection&) = delete;

  /// The road serves any thread from the start.
  void enableMultipleThreads() override {}
  std::shared_ptr<RootProxy> rootProxy() override { return std::make_shared<SocketProxy>(road_); }

 private:
  static void closed(GDBusConnection* /*bus*/, gboolean /*remotePeerVanished*/, GError* /*reason*/,
                     gpointer self) noexcept {
    swallowing([&] {
      auto* connection = static_cast<SocketConnection*>(self);
      connection->center_.post({kNSConnectionDidDieNotification, connection});
    });
  }

  std::shared_ptr<Road> road_;
  LocalNotificationCenter& center_;
  gulong closed_;
};

/// Null where the socket is of no use; the descriptor is closed in every case.
GPtr<GIOStream> streamOver(Descriptor descriptor) {
  const GPtr<GSocket> socket(g_socket_new_from_fd(descriptor.get(), nullptr));
  if (!socket) return nullptr;
  descriptor.release();  // the socket's own from here
  return GPtr<GIOStream>(G_IO_STREAM(g_socket_connection_factory_create_connection(socket.get())));
}

}  // namespace

std::shared_ptr<SendPort> SocketConnections::portForName(const std::string& name) {
  const auto path = socketPath(folder_, name);
  if (!path) return nullptr;
  Descriptor accepted = connectToOwnSocket(*path);
  return accepted ? std::make_shared<SocketPort>(std::move(accepted)) : nullptr;
}

std::shared_ptr<Connection> SocketConnections::connectionWithSendPort(
    const std::shared_ptr<SendPort>& sendPort) {
  auto* port = dynamic_cast<SocketPort*>(sendPort.get());
  if (port == nullptr || !port->socket) return nullptr;
  const auto stream = streamOver(std::move(port->socket));
  if (!stream) return nullptr;
  const Deadline deadline(patience_);
  GPtr<GDBusConnection> bus(g_dbus_connection_new_sync(
      stream.get(), nullptr, G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, nullptr,
      deadline.cancellable(), nullptr));
  if (!bus) return nullptr;
  return std::make_shared<SocketConnection>(std::make_shared<Road>(std::move(bus), patience_),
                                            center_);
}

}  // namespace wevora::platform
