#include "Platform/IPC/SocketConnections.h"

#include <atomic>
#include <utility>

#include <gio/gio.h>

#include "Platform/Base/Guard.h"
#include "Platform/Dispatch/Deadline.h"
#include "Platform/IPC/InterfaceDescription.h"
#include "Platform/IPC/UnresponsivePeers.h"
#include "Platform/IPC/Variants.h"
#include "Platform/IPC/WaitBudget.h"

namespace wevora::platform {
namespace {

constexpr const char* kRootPath = "/";

/// The D-Bus transport to one peer, shared by a connection and its proxies.
/// Thread-safety: any thread.
/// Errors: a failed call returns null.
class Transport {
 public:
  /// The peer process, and the budget that limits how long its calls may block.
  struct Peer {
    std::optional<PeerProcess> process;
    std::shared_ptr<WaitBudget> budget;
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<UnresponsivePeers> unresponsive;
  };

  /// Authenticates on the socket. Returns null on failure or timeout.
  static std::shared_ptr<Transport> open(Descriptor socket, Peer peer);

  Transport(GObjectPtr<GDBusConnection> bus, Peer peer)
      : bus_(std::move(bus)), peer_(std::move(peer)) {}
  ~Transport() { close(); }
  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;

  GDBusConnection* bus() const noexcept { return bus_.get(); }

  VariantPtr call(const std::string& interface, const std::string& method, GVariant* arguments,
                  const std::string& replyType) {
    if (closed_.load()) return nullptr;
    GError* failed = nullptr;
    const auto start = peer_.clock->uptime();
    VariantPtr reply(g_dbus_connection_call_sync(
        bus_.get(), nullptr, kRootPath, interface.c_str(), method.c_str(), arguments,
        G_VARIANT_TYPE(replyType.c_str()), G_DBUS_CALL_FLAGS_NONE,
        static_cast<gint>(peer_.budget->remaining().count()), nullptr, &failed));
    const bool timedOut = g_error_matches(failed, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != FALSE;
    g_clear_error(&failed);
    if (!peer_.budget->charge(peer_.clock->uptime() - start) || timedOut) {
      abandon();
      return nullptr;
    }
    return reply;
  }
  VariantPtr introspect() {
    return call("org.freedesktop.DBus.Introspectable", "Introspect", nullptr, "(s)");
  }
  /// Replaces the budget for subsequent calls. Not thread-safe: call it before sharing the
  /// transport.
  void setBudget(std::shared_ptr<WaitBudget> budget) { peer_.budget = std::move(budget); }

 private:
  void abandon() {
    peer_.unresponsive->add(peer_.process);
    close();
  }
  void close() {
    if (!closed_.exchange(true)) g_dbus_connection_close(bus_.get(), nullptr, nullptr, nullptr);
  }

  GObjectPtr<GDBusConnection> bus_;
  Peer peer_;
  std::atomic<bool> closed_{false};
};

/// Null if the descriptor is not a usable socket. Always consumes the descriptor.
GObjectPtr<GIOStream> streamOn(Descriptor descriptor) {
  const GObjectPtr<GSocket> socket(g_socket_new_from_fd(descriptor.get(), nullptr));
  if (!socket) return nullptr;
  descriptor.release();  // owned by the GSocket now
  return GObjectPtr<GIOStream>(
      G_IO_STREAM(g_socket_connection_factory_create_connection(socket.get())));
}

std::shared_ptr<Transport> Transport::open(Descriptor socket, Peer peer) {
  const auto stream = streamOn(std::move(socket));
  if (!stream) return nullptr;
  const auto start = peer.clock->uptime();
  const Deadline deadline(peer.budget->remaining());
  GError* failed = nullptr;
  GObjectPtr<GDBusConnection> bus(g_dbus_connection_new_sync(
      stream.get(), nullptr, G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, nullptr,
      deadline.cancellable(), &failed));
  const bool timedOut = g_error_matches(failed, G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE;
  g_clear_error(&failed);
  // GIO leaks a reference to the stream if the peer rejects us twice; close the socket explicitly.
  if (!bus) g_io_stream_close(stream.get(), nullptr, nullptr);
  if (!peer.budget->charge(peer.clock->uptime() - start) || timedOut) {
    peer.unresponsive->add(peer.process);
    return nullptr;
  }
  return bus ? std::make_shared<Transport>(std::move(bus), std::move(peer)) : nullptr;
}

/// A service that has accepted our connection: a socket, or a transport if the probe of an
/// unresponsive process has already opened one.
struct SocketPort : SendPort {
  Descriptor socket;
  std::shared_ptr<Transport> transport;
  std::optional<PeerProcess> process;
};

class SocketProxy : public RootProxy {
 public:
  explicit SocketProxy(std::shared_ptr<Transport> transport) : transport_(std::move(transport)) {}

  bool conformsToProtocol(const WireProtocol& protocol) override {
    const auto reply = transport_->introspect();
    if (!reply) return false;
    const VariantPtr text(g_variant_get_child_value(reply.get(), 0));
    const InterfaceDescription found(g_variant_get_string(text.get(), nullptr),
                                     protocol.interfaceName);
    return descriptionOf(protocol)->isContainedIn(found);
  }

  std::optional<Array> call(const WireProtocol& protocol, std::string_view method,
                            const Array& arguments) override {
    const std::string name(method);
    const auto description = descriptionOf(protocol);
    const auto* wanted = description->method(name);
    if (wanted == nullptr) return std::nullopt;
    const VariantPtr tuple(tupleOf(arguments, wanted->in_args));
    if (!tuple) return std::nullopt;
    const auto reply = transport_->call(protocol.interfaceName, name, tuple.get(),
                                        tupleSignature(wanted->out_args));
    return reply ? membersOf(reply.get()) : std::nullopt;
  }

 private:
  std::shared_ptr<Transport> transport_;
};

class SocketConnection : public Connection {
 public:
  SocketConnection(std::shared_ptr<Transport> transport, LocalNotificationCenter& center)
      : transport_(std::move(transport)),
        center_(center),
        closedHandler_(g_signal_connect(transport_->bus(), "closed",
                                        G_CALLBACK(&SocketConnection::onClosed), this)) {}
  ~SocketConnection() override { g_signal_handler_disconnect(transport_->bus(), closedHandler_); }
  SocketConnection(const SocketConnection&) = delete;
  SocketConnection& operator=(const SocketConnection&) = delete;

  /// Does nothing: Transport is thread-safe.
  void enableMultipleThreads() override {}
  std::shared_ptr<RootProxy> rootProxy() override {
    return std::make_shared<SocketProxy>(transport_);
  }

 private:
  static void onClosed(GDBusConnection* /*bus*/, gboolean /*remotePeerVanished*/,
                       GError* /*reason*/, gpointer self) noexcept {
    catchAll([&] {
      auto* connection = static_cast<SocketConnection*>(self);
      connection->center_.post({kNSConnectionDidDieNotification, connection});
    });
  }

  std::shared_ptr<Transport> transport_;
  LocalNotificationCenter& center_;
  gulong closedHandler_;
};

}  // namespace

SocketConnections::SocketConnections(LocalNotificationCenter& center, std::string folder,
                                     std::chrono::milliseconds callTimeout,
                                     std::shared_ptr<const Clock> clock,
                                     std::shared_ptr<SocketCalls> calls)
    : center_(center),
      folder_(std::move(folder)),
      callTimeout_(callTimeout),
      clock_(std::move(clock)),
      calls_(std::move(calls)),
      unresponsive_(std::make_shared<UnresponsivePeers>()) {}

std::shared_ptr<SendPort> SocketConnections::portForName(const std::string& name) {
  const auto path = socketPath(folder_, name);
  if (!path) return nullptr;
  auto reached = reachOwnSocket(*path, *calls_);
  if (!reached.socket) return nullptr;
  auto port = std::make_shared<SocketPort>();
  port->process = PeerProcess::of(reached.listener);
  port->socket = std::move(reached.socket);
  if (!unresponsive_->contains(port->process)) return port;

  // The process was unresponsive: probe it with a short timeout, and use it only if it replies.
  if (port->process->isStopped()) return nullptr;
  const auto whole = std::make_shared<WaitBudget>(callTimeout_, clock_);
  const auto probe = std::make_shared<WaitBudget>(whole->promptLimit(), clock_);
  port->transport =
      Transport::open(std::move(port->socket), {port->process, probe, clock_, unresponsive_});
  if (!port->transport || !port->transport->introspect()) return nullptr;
  port->transport->setBudget(whole);
  unresponsive_->remove(port->process);
  return port;
}

std::shared_ptr<Connection> SocketConnections::connectionWithSendPort(
    const std::shared_ptr<SendPort>& sendPort) {
  auto* port = dynamic_cast<SocketPort*>(sendPort.get());
  if (port == nullptr) return nullptr;
  auto transport = std::move(port->transport);
  if (!transport && port->socket)
    transport = Transport::open(
        std::move(port->socket),
        {port->process, std::make_shared<WaitBudget>(callTimeout_, clock_), clock_, unresponsive_});
  return transport ? std::make_shared<SocketConnection>(std::move(transport), center_) : nullptr;
}

}  // namespace wevora::platform
