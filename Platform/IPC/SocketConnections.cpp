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

/// The road to a peer, shared by a connection and its proxies.
/// Threads: any. Owns: the bus connection. Errors: null where a call has no answer.
class Road {
 public:
  /// Who is there, and how long it is waited for.
  struct Peer {
    std::optional<PeerProcess> process;
    std::shared_ptr<WaitBudget> patience;
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<UnresponsivePeers> silent;
  };

  /// Null where the peer cannot be talked to.
  static std::shared_ptr<Road> over(Descriptor socket, Peer peer);

  Road(GObjectPtr<GDBusConnection> bus, Peer peer) : bus_(std::move(bus)), peer_(std::move(peer)) {}
  ~Road() { close(); }
  Road(const Road&) = delete;
  Road& operator=(const Road&) = delete;

  GDBusConnection* bus() const noexcept { return bus_.get(); }

  VariantPtr call(const std::string& interface, const std::string& method, GVariant* arguments,
                  const std::string& answerType) {
    if (closed_.load()) return nullptr;
    GError* failed = nullptr;
    const auto begun = peer_.clock->uptime();
    VariantPtr answer(g_dbus_connection_call_sync(
        bus_.get(), nullptr, kRootPath, interface.c_str(), method.c_str(), arguments,
        G_VARIANT_TYPE(answerType.c_str()), G_DBUS_CALL_FLAGS_NONE,
        static_cast<gint>(peer_.patience->left().count()), nullptr, &failed));
    const bool unanswered = g_error_matches(failed, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != FALSE;
    g_clear_error(&failed);
    if (!peer_.patience->bears(peer_.clock->uptime() - begun) || unanswered) {
      giveUp();
      return nullptr;
    }
    return answer;
  }
  VariantPtr introspect() {
    return call("org.freedesktop.DBus.Introspectable", "Introspect", nullptr, "(s)");
  }
  /// From here on it is waited for so long.
  void bear(std::shared_ptr<WaitBudget> patience) { peer_.patience = std::move(patience); }

 private:
  void giveUp() {
    peer_.silent->add(peer_.process);
    close();
  }
  void close() {
    if (!closed_.exchange(true)) g_dbus_connection_close(bus_.get(), nullptr, nullptr, nullptr);
  }

  GObjectPtr<GDBusConnection> bus_;
  Peer peer_;
  std::atomic<bool> closed_{false};
};

/// Null where the socket is of no use; the descriptor is closed in every case.
GObjectPtr<GIOStream> streamOver(Descriptor descriptor) {
  const GObjectPtr<GSocket> socket(g_socket_new_from_fd(descriptor.get(), nullptr));
  if (!socket) return nullptr;
  descriptor.release();  // the socket's own from here
  return GObjectPtr<GIOStream>(
      G_IO_STREAM(g_socket_connection_factory_create_connection(socket.get())));
}

std::shared_ptr<Road> Road::over(Descriptor socket, Peer peer) {
  const auto stream = streamOver(std::move(socket));
  if (!stream) return nullptr;
  const auto begun = peer.clock->uptime();
  const Deadline deadline(peer.patience->left());
  GError* failed = nullptr;
  GObjectPtr<GDBusConnection> bus(g_dbus_connection_new_sync(
      stream.get(), nullptr, G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, nullptr,
      deadline.cancellable(), &failed));
  const bool unanswered = g_error_matches(failed, G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE;
  g_clear_error(&failed);
  // A peer that rejects us twice makes GIO forget a reference, and the socket with it.
  if (!bus) g_io_stream_close(stream.get(), nullptr, nullptr);
  if (!peer.patience->bears(peer.clock->uptime() - begun) || unanswered) {
    peer.silent->add(peer.process);
    return nullptr;
  }
  return bus ? std::make_shared<Road>(std::move(bus), std::move(peer)) : nullptr;
}

/// A service that has accepted us on a socket.
/// Threads: one. Owns: the socket, and the road where it has been opened already. Errors: none.
struct SocketPort : SendPort {
  Descriptor socket;
  std::shared_ptr<Road> road;
  std::optional<PeerProcess> process;
};

class SocketProxy : public RootProxy {
 public:
  explicit SocketProxy(std::shared_ptr<Road> road) : road_(std::move(road)) {}

  bool conformsToProtocol(const WireProtocol& protocol) override {
    const auto answer = road_->introspect();
    if (!answer) return false;
    const VariantPtr text(g_variant_get_child_value(answer.get(), 0));
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
    catchAll([&] {
      auto* connection = static_cast<SocketConnection*>(self);
      connection->center_.post({kNSConnectionDidDieNotification, connection});
    });
  }

  std::shared_ptr<Road> road_;
  LocalNotificationCenter& center_;
  gulong closed_;
};

}  // namespace

SocketConnections::SocketConnections(LocalNotificationCenter& center, std::string folder,
                                     std::chrono::milliseconds patience,
                                     std::shared_ptr<const Clock> clock,
                                     std::shared_ptr<SocketCalls> calls)
    : center_(center),
      folder_(std::move(folder)),
      patience_(patience),
      clock_(std::move(clock)),
      calls_(std::move(calls)),
      silent_(std::make_shared<UnresponsivePeers>()) {}

std::shared_ptr<SendPort> SocketConnections::portForName(const std::string& name) {
  const auto path = socketPath(folder_, name);
  if (!path) return nullptr;
  auto reached = reachOwnSocket(*path, *calls_);
  if (!reached.socket) return nullptr;
  auto port = std::make_shared<SocketPort>();
  port->process = PeerProcess::of(reached.listener);
  port->socket = std::move(reached.socket);
  if (!silent_->contains(port->process)) return port;

  // It has kept us waiting once, and is not waited for again: it is there when it answers promptly.
  if (port->process->isStopped()) return nullptr;
  const auto whole = std::make_shared<WaitBudget>(patience_, clock_);
  const auto prompt = std::make_shared<WaitBudget>(whole->prompt(), clock_);
  port->road = Road::over(std::move(port->socket), {port->process, prompt, clock_, silent_});
  if (!port->road || !port->road->introspect()) return nullptr;
  port->road->bear(whole);
  silent_->remove(port->process);
  return port;
}

std::shared_ptr<Connection> SocketConnections::connectionWithSendPort(
    const std::shared_ptr<SendPort>& sendPort) {
  auto* port = dynamic_cast<SocketPort*>(sendPort.get());
  if (port == nullptr) return nullptr;
  auto road = std::move(port->road);
  if (!road && port->socket)
    road = Road::over(
        std::move(port->socket),
        {port->process, std::make_shared<WaitBudget>(patience_, clock_), clock_, silent_});
  return road ? std::make_shared<SocketConnection>(std::move(road), center_) : nullptr;
}

}  // namespace wevora::platform
