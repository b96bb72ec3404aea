#include "Benchmarks/BundleProcess.h"

#include <atomic>
#include <iostream>
#include <unistd.h>

#include <gio/gio.h>

#include "Apps/status/WatchedWindow.h"
#include "Benchmarks/BenchmarkVolume.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Database/SqliteDatabases.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/SocketConnections.h"
#include "Tests/Doubles/ManualUnmountApprovals.h"
#include "Tests/Doubles/MountInfoVolumes.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora::benchmarks {
namespace {

using Text = std::optional<std::string>;

/// Until the last drawing of a change is over; one that came later would read the item anew before
/// its next event.
constexpr std::chrono::milliseconds kSettled{5};

/// The system's clock, moved on by hand.
class MovedClock : public platform::Clock {
 public:
  platform::Date now() const override { return system_.now() + static_cast<double>(moved_.load()); }
  std::chrono::nanoseconds uptime() const override {
    return system_.uptime() + std::chrono::seconds(moved_.load());
  }
  void moveOn() { moved_ += 5; }

 private:
  const platform::SystemClock system_;
  std::atomic<std::int64_t> moved_{0};
};

class NoSettings : public SettingsReader {
 public:
  std::optional<platform::Value> readKey(const std::string&, const Text&) override {
    return std::nullopt;
  }
};

struct Bundle {
  explicit Bundle(const std::string& volume, const std::string& shown)
      : item(shown),
        volumes([volume] { return mountInfoOf(volume); }),
        pool(WVDBPool::init({databases, dispatch, volumes, approvals})),
        tools(runtime, dispatch.mainQueue(), clock),
        provider(WVIconProvider::init({clock, dispatch, tools, pool})),
        window(runtime, {shown}, [this](std::size_t) { needsDisplay(); }),
        engine(statusEngineOf(*provider, tools)),
        connector({std::string(g_get_user_name()), objects, center, local, *engine,
                   [](const Text&) { return std::make_unique<NoSettings>(); }}) {
    connector.connect();
    needsDisplay();
  }

  /// As a host: it draws at the next turn of the main loop, however often it was asked before.
  void needsDisplay() {
    if (waiting) return;
    waiting = true;
    dispatch.mainQueue().async([this] {
      waiting = false;
      draw();
    });
  }

  void draw() {
    provider->setView(window.viewOf(0), item);
    const auto drawn = provider->colorFor(ItemURL(item));
    if (!drawn || *drawn == word) return;
    const auto when = sharedTime();
    word = *drawn;
    std::cout << word << ' ' << when << std::endl;
    provider->performWhenIdle([this] {
      dispatch.mainQueue().after(kSettled, [this] {
        clock.moveOn();
        std::cout << kReady << std::endl;
      });
    });
  }

  MovedClock clock;
  const std::string item;
  platform::GLibDispatch dispatch;
  platform::MountInfoVolumes volumes;
  platform::SqliteDatabases databases{clock};
  platform::ManualUnmountApprovals approvals;
  platform::LocalNotificationCenter local;
  platform::SocketConnections objects{local};
  platform::BusNotificationCenter center;
  platform::Runtime runtime;
  std::shared_ptr<WVDBPool> pool;
  WVFinderTools tools;
  std::shared_ptr<WVIconProvider> provider;
  status::WatchedWindow window;
  std::unique_ptr<StatusEngine> engine;
  WVAgentConnector connector;
  bool waiting = false;
  std::string word;
};

void pinged(GDBusConnection* bus, const gchar* /*sender*/, const gchar* /*path*/,
            const gchar* /*interface*/, const gchar* /*name*/, GVariant* /*arguments*/,
            gpointer /*data*/) noexcept {
  g_dbus_connection_emit_signal(bus, nullptr, kBarePath, kBareInterface, kBarePong, nullptr,
                                nullptr);
}

}  // namespace

int runBundle(const std::string& volume, const std::string& item) {
  loadNSDateDBFormat();
  GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  if (bus == nullptr) return 1;
  g_dbus_connection_signal_subscribe(bus, nullptr, kBareInterface, kBarePing, kBarePath, nullptr,
                                     G_DBUS_SIGNAL_FLAGS_NONE, &pinged, nullptr, nullptr);
  static Bundle bundle(volume, item);  // never destroyed: the process is killed
  while (true) g_main_context_iteration(nullptr, TRUE);
}

}  // namespace wevora::benchmarks
