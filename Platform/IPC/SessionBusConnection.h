#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <gio/gio.h>

#include "Platform/Base/GObjectPtr.h"
#include "Platform/Dispatch/Timer.h"
#include "Platform/IPC/NotificationDispatcher.h"

namespace wevora::platform {

/// A private connection to the session bus that reconnects automatically. The first use connects
/// synchronously, with kConnectTimeout. If that fails, or if the connection is lost, it retries in
/// the background with exponential backoff, from kFirstReconnectDelay to kMaxReconnectDelay.
/// Thread-safety: one thread.
/// Errors: `connection` returns null while there is no bus.
class SessionBusConnection : public std::enable_shared_from_this<SessionBusConnection> {
 public:
  /// Timeout of one attempt to connect to the session bus.
  static constexpr std::chrono::seconds kConnectTimeout{2};
  /// Delay before the first retry; doubles with each failed attempt.
  static constexpr std::chrono::milliseconds kFirstReconnectDelay{250};
  static constexpr std::chrono::milliseconds kMaxReconnectDelay = std::chrono::minutes(1);

  /// GDBus's reading thread adds received notifications to `dispatcher` directly, without the main
  /// loop. `reconnected` is called after each background connect; match rules must be added again.
  SessionBusConnection(NotificationDispatcher& dispatcher, std::function<void()> reconnected);
  ~SessionBusConnection();
  SessionBusConnection(const SessionBusConnection&) = delete;
  SessionBusConnection& operator=(const SessionBusConnection&) = delete;

  /// Connects at first use. Null while there is no bus.
  GDBusConnection* connection();
  /// Calls a method of the bus daemon and ignores the reply. Does nothing without a bus.
  void callWithoutReply(const char* method, const std::string& rule);

 private:
  static GDBusMessage* filterMessage(GDBusConnection* bus, GDBusMessage* message, gboolean incoming,
                                     gpointer inbox) noexcept;
  static void onClosed(GDBusConnection* bus, gboolean vanished, GError* reason,
                       gpointer self) noexcept;
  static void onConnectFinished(GObject* source, GAsyncResult* result, gpointer weak) noexcept;
  void adopt(GObjectPtr<GDBusConnection> bus);
  void disconnect();
  void scheduleReconnect();
  void connect();
  void connectFinished(GObjectPtr<GDBusConnection> bus);

  const std::size_t inbox_;  ///< the id by which the reading thread finds the dispatcher
  const std::function<void()> reconnected_;
  GObjectPtr<GDBusConnection> connection_;
  gulong closedHandler_ = 0;
  guint filter_ = 0;
  bool attempted_ = false;  ///< the first, synchronous connect has been made
  std::chrono::milliseconds reconnectDelay_ = kFirstReconnectDelay;
  GObjectPtr<GCancellable> pendingConnect_;
  std::optional<Timer> timer_;  ///< the reconnect delay, then the timeout of the pending connect
};

}  // namespace wevora::platform
