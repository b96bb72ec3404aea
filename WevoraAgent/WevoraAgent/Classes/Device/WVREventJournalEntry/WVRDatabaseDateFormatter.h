#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Base/Date.h"
#include "Platform/Base/LocalNotificationCenter.h"
#include "Platform/Base/Mutex.h"
#include "Platform/Base/TimeZones.h"

namespace wevora {

/// Converts between dates and database text: "yyyy-MM-dd HH:mm:ss" in UTC, a point, and seven
/// digits in units of 10^-7 s. After the system's time zone has changed, it reads and writes the
/// local time zone instead.
/// Thread-safety: any thread. The zone is replaced on the thread that posts the change.
/// Ownership: center and zones must outlive it.
/// Errors: nullopt if a value cannot be converted.
class WVRDatabaseDateFormatter {
 public:
  WVRDatabaseDateFormatter(platform::LocalNotificationCenter& center,
                           const platform::TimeZones& zones);
  ~WVRDatabaseDateFormatter();
  WVRDatabaseDateFormatter(const WVRDatabaseDateFormatter&) = delete;
  WVRDatabaseDateFormatter& operator=(const WVRDatabaseDateFormatter&) = delete;

  /// nullopt for nullopt and for dates outside the years 1 to 9999.
  // -databaseDateStringFromDate:
  std::optional<std::string> databaseDateStringFromDate(std::optional<platform::Date> date) const;

  /// nullopt for nullopt (a value that is not text) and for a text of 20 characters or fewer.
  // -dateFromDatabaseDateString:
  std::optional<platform::Date> dateFromDatabaseDateString(
      std::optional<std::string_view> text) const;

  // -systemTimeZoneChangedNotificationReceived:
  void systemTimeZoneChangedNotificationReceived(const platform::Notification& notification);

 private:
  std::int64_t offsetAtUtc(std::int64_t seconds) const;
  std::int64_t offsetAtLocal(std::int64_t seconds) const;

  const platform::TimeZones& zones_;
  mutable platform::Mutex monitor_;
  std::shared_ptr<const platform::TimeZone> zone_ GUARDED_BY(monitor_);  // null: UTC
  std::unique_ptr<platform::LocalNotificationCenter::Observation> observation_;
};

}  // namespace wevora
