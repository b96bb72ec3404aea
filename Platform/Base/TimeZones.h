#pragma once

#include <cstdint>
#include <memory>

#include "Platform/Base/LocalNotificationCenter.h"

namespace wevora::platform {

/// Notification name: the system's time zone has changed.
inline constexpr const char* kSystemTimeZoneDidChangeNotification =
    "NSSystemTimeZoneDidChangeNotification";

/// The UTC offsets of one time zone.
/// Thread-safety: any thread.
class TimeZone {
 public:
  virtual ~TimeZone() = default;
  /// Offset from UTC in seconds, at a time given in seconds since 1970 UTC.
  virtual std::int64_t offsetAtUtc(std::int64_t secondsSince1970) const = 0;
  /// Offset from UTC in seconds, at a time given in local seconds since 1970.
  virtual std::int64_t offsetAtLocal(std::int64_t localSeconds) const = 0;
};

/// Source of time zones.
/// Thread-safety: any thread.
class TimeZones {
 public:
  virtual ~TimeZones() = default;
  /// Null if the system has no time zone.
  virtual std::shared_ptr<const TimeZone> systemTimeZone() const = 0;
};

/// The system's time zones, through GLib.
class SystemTimeZones : public TimeZones {
 public:
  std::shared_ptr<const TimeZone> systemTimeZone() const override;
  static SystemTimeZones& shared();
};

/// Posts kSystemTimeZoneDidChangeNotification when the file that defines the system's zone changes.
/// Thread-safety: main thread only; posts from the main loop.
/// Errors: never posts if the file cannot be watched.
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
