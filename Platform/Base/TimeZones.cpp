#include "Platform/Base/TimeZones.h"

#include <gio/gio.h>

#include "Platform/Base/GObjectPtr.h"
#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

struct ZoneUnref {
  void operator()(GTimeZone* zone) const noexcept { g_time_zone_unref(zone); }
};

class GLibTimeZone : public TimeZone {
 public:
  explicit GLibTimeZone(GTimeZone* zone) : zone_(zone) {}

  std::int64_t offsetAtUtc(std::int64_t secondsSince1970) const override {
    return offset(G_TIME_TYPE_UNIVERSAL, secondsSince1970);
  }
  std::int64_t offsetAtLocal(std::int64_t localSeconds) const override {
    return offset(G_TIME_TYPE_STANDARD, localSeconds);
  }

 private:
  std::int64_t offset(GTimeType type, gint64 time) const {
    // Adjusts a local time that a daylight-saving transition skips.
    const int interval = g_time_zone_adjust_time(zone_.get(), type, &time);
    return interval < 0 ? 0 : g_time_zone_get_offset(zone_.get(), interval);
  }

  std::unique_ptr<GTimeZone, ZoneUnref> zone_;
};

}  // namespace

std::shared_ptr<const TimeZone> SystemTimeZones::systemTimeZone() const {
  GTimeZone* zone = g_time_zone_new_local();
  return zone == nullptr ? nullptr : std::make_shared<GLibTimeZone>(zone);
}

SystemTimeZones& SystemTimeZones::shared() {
  static NeverDestroyed<SystemTimeZones> zones;
  return *zones;
}

struct TimeZoneMonitor::State {
  LocalNotificationCenter& center;
  GObjectPtr<GFileMonitor> monitor;
  gulong handler = 0;

  static void changed(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent, gpointer self) noexcept {
    catchAll(
        [self] { static_cast<State*>(self)->center.post({kSystemTimeZoneDidChangeNotification}); });
  }
};

TimeZoneMonitor::TimeZoneMonitor(LocalNotificationCenter& center, const std::string& path)
    : state_(std::make_unique<State>(State{center, nullptr, 0})) {
  const GObjectPtr<GFile> file(g_file_new_for_path(path.c_str()));
  // Changing the zone replaces this symbolic link, so watch the link and not its target.
  state_->monitor.reset(
      g_file_monitor_file(file.get(), G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr));
  if (!state_->monitor) return;
  state_->handler =
      g_signal_connect(state_->monitor.get(), "changed", G_CALLBACK(&State::changed), state_.get());
}

TimeZoneMonitor::~TimeZoneMonitor() {
  if (!state_->monitor) return;
  g_signal_handler_disconnect(state_->monitor.get(), state_->handler);
  g_file_monitor_cancel(state_->monitor.get());
}

}  // namespace wevora::platform
