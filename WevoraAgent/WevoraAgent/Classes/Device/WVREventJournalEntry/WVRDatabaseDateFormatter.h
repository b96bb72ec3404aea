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

/// Converts between dates and the database's text: "yyyy-MM-dd HH:mm:ss" in UTC, a point and seven
/// digits in units of 10^-7 s. Once the system's time zone has changed, the text is read and
/// written in the machine's local zone instead.
/// Threads: any; the zone is switched on the thread that posts the change.
/// Owns: its observation of time zone changes; its collaborators must outlive it.
/// Errors: none is the answer for what cannot be converted.
class WVRDatabaseDateFormatter {
 public:
  WVRDatabaseDateFormatter(platform::LocalNotificationCenter& center,
                           const platform::TimeZones& zones);
  ~WVRDatabaseDateFormatter();
  WVRDatabaseDateFormatter(const WVRDatabaseDateFormatter&) = delete;
  WVRDatabaseDateFormatter& operator=(const WVRDatabaseDateFormatter&) = delete;

  /// None for none and for dates outside the years 1 to 9999.
  // -databaseDateStringFromDate:
  std::optional<std::string> databaseDateStringFromDate(std::optional<platform::Date> date) const;

  /// None for none (what is not a text at all) and for a text of 20 characters or fewer.
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
  std::shared_ptr<const platform::TimeZone> zone_ GUARDED_BY(monitor_);  // none: UTC
  std::unique_ptr<platform::LocalNotificationCenter::Observation> observation_;
};

}  // namespace wevora
