#include "Benchmarks/BundleProcess.h"

#include <atomic>
#include <iostream>
#include <unistd.h>

#include <gio/gio.h>

#include "Apps/status/WatchedWindow.h"
#include "Benchmarks/BenchmarkVolume.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "FinderIntegration/finder_bundle/WVIconProvider.h"
#include "Platform/Dispatch/GLibDispatch.h"
#include "Platform/IPC/BusNotificationCenter.h"
#include "Platform/IPC/SocketConnections.h"
#include "Tests/Doubles/MountInfoVolumes.h"
#include "Tests/Engine/EngineUnderTest.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora::benchmarks {
namespace {

using Text = std::optional<std::string>;

/// How long a change is given to be drawn. A later drawing would refresh the item before its next
/// event.
constexpr std::chrono::milliseconds kSettled{5};

/// The system's clock plus an offset.
class AdjustableClock : public platform::Clock {
 public:
  platform::Date now() const override {
    return system_.now() + static_cast<double>(offset_.load());
  }
  std::chrono::nanoseconds uptime() const override {
    return system_.uptime() + std::chrono::seconds(offset_.load());
  }
  /// By five seconds, after which every cached status is stale.
  void advance() { offset_ += 5; }

 private:
  const platform::SystemClock system_;
  std::atomic<std::int64_t> offset_{0};
};

struct AdjustableTime {
  AdjustableClock clock;
  platform::GLibDispatch dispatch;
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
        window(engine.runtime, {shown}, [this](std::size_t) { needsDisplay(); }),
        statusEngine(statusEngineOf(*engine.provider, engine.tools)),
        connector({std::string(g_get_user_name()), objects, center, local, *statusEngine,
                   [](const Text&) { return std::make_unique<NoSettings>(); }}) {
    connector.connect();
    needsDisplay();
  }

  /// As in a host: several requests lead to one drawing, in the next iteration of the main loop.
  void needsDisplay() {
    if (waiting) return;
    waiting = true;
    engine.dispatch.mainQueue().async([this] {
      waiting = false;
      draw();
    });
  }

  void draw() {
    engine.provider->setView(window.viewOf(0), item);
    const auto drawn = engine.provider->colorFor(ItemURL(item));
    if (!drawn || *drawn == word) return;
    const auto when = sharedTime();
    word = *drawn;
    std::cout << word << ' ' << when << std::endl;
    engine.provider->performWhenIdle([this] {
      engine.dispatch.mainQueue().after(kSettled, [this] {
        engine.clock.advance();
        std::cout << kReady << std::endl;
      });
    });
  }

  const std::string item;
  platform::MountInfoVolumes volumes;
  testing_host::BasicEngineUnderTest<AdjustableTime> engine{{.volumes = &volumes}};
  platform::LocalNotificationCenter local;
  platform::SocketConnections objects{local};
  platform::BusNotificationCenter center;
  status::WatchedWindow window;
  std::unique_ptr<StatusEngine> statusEngine;
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
