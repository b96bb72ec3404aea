#pragma once

#include <cstdint>
#include <memory>

#include "Platform/Base/LocalNotificationCenter.h"

namespace wevora::platform {

/// The name of the notification that the machine's time zone has changed.
inline constexpr const char* kSystemTimeZoneDidChangeNotification =
    "NSSystemTimeZoneDidChangeNotification";

/// One time zone: how far its clocks are from UTC.
/// Threads: any. Owns: its rules. Errors: none.
class TimeZone {
 public:
  virtual ~TimeZone() = default;
  /// Seconds to add to UTC at a moment, given in seconds since 1970 UTC.
  virtual std::int64_t offsetAtUtc(std::int64_t secondsSince1970) const = 0;
  /// Seconds to add to UTC at a moment that the zone's own clocks show.
  virtual std::int64_t offsetAtLocal(std::int64_t localSeconds) const = 0;
};

/// Where time zones come from.
/// Threads: any. Owns: nothing. Errors: none is the answer when the system names no zone.
class TimeZones {
 public:
  virtual ~TimeZones() = default;
  virtual std::shared_ptr<const TimeZone> systemTimeZone() const = 0;
};

/// The machine's time zones, through GLib.
class SystemTimeZones : public TimeZones {
 public:
  std::shared_ptr<const TimeZone> systemTimeZone() const override;
  static SystemTimeZones& shared();
};

/// Posts kSystemTimeZoneDidChangeNotification when the file that names the machine's zone changes.
/// Threads: made and destroyed on the main thread; posts there, from the main loop.
/// Owns: the watch on the file. Errors: a file that cannot be watched posts nothing.
class TimeZoneMonitor {
 public:
  explicit TimeZoneMonitor(LocalNotificationCenter& center,
                           const std::string& path = "/etc/localtime");
  ~TimeZoneMonitor();
  TimeZoneMonitor(const TimeZoneMonitor&) = delete;
  TimeZoneMonitor& operator=(const TimeZoneMonitor&) = delete;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace wevora::platform
