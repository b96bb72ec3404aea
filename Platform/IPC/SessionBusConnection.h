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

/// The road to the session bus, for as long as there is one. The first use waits for the bus, two
/// seconds at most; where it is not there, or goes away, it is looked for again in the background:
/// after a quarter of a second, and then each time after twice as long, up to a minute.
/// Threads: one. Owns: the connection. Errors: none; a null connection.
class SessionBusConnection : public std::enable_shared_from_this<SessionBusConnection> {
 public:
  /// Notifications go to `deliveries` straight from the thread that reads them, past the main loop;
  /// `reached` is called when a bus is there that was not.
  SessionBusConnection(NotificationDispatcher& dispatcher, std::function<void()> reached);
  ~SessionBusConnection();
  SessionBusConnection(const SessionBusConnection&) = delete;
  SessionBusConnection& operator=(const SessionBusConnection&) = delete;

  /// Null where there is no bus now.
  GDBusConnection* connection();
  /// A call of the bus's own whose answer nobody waits for. Does nothing without a bus.
  void tell(const char* method, const std::string& rule);

 private:
  static GDBusMessage* read(GDBusConnection* bus, GDBusMessage* message, gboolean incoming,
                            gpointer inbox) noexcept;
  static void closed(GDBusConnection* bus, gboolean vanished, GError* reason,
                     gpointer self) noexcept;
  static void answered(GObject* source, GAsyncResult* result, gpointer weak) noexcept;
  void use(GObjectPtr<GDBusConnection> bus);
  void letGo();
  void scheduleReconnect();
  void look();
  void found(GObjectPtr<GDBusConnection> bus);

  const std::size_t inbox_;  ///< where the thread that reads finds the deliveries
  const std::function<void()> reached_;
  GObjectPtr<GDBusConnection> connection_;
  gulong closed_ = 0;
  guint filter_ = 0;
  bool asked_ = false;
  std::chrono::milliseconds delay_;
  GObjectPtr<GCancellable> attempt_;
  std::optional<Timer> timer_;
};

}  // namespace wevora::platform
