#include "Platform/Base/Guard.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/WVRDatabaseDateFormatter.h"

namespace wevora {
namespace {

WVRDatabaseDateFormatter& dateFormatter() {
  static platform::NeverDestroyed<WVRDatabaseDateFormatter> formatter(
      platform::LocalNotificationCenter::defaultCenter(), platform::SystemTimeZones::shared());
  return *formatter;
}

}  // namespace

void loadNSDateDBFormat() {
  dateFormatter();
  static platform::NeverDestroyed<platform::TimeZoneMonitor> monitor(
      platform::LocalNotificationCenter::defaultCenter());
}

std::optional<std::string> dbFormat(const platform::Date& date) {
  return dateFormatter().databaseDateStringFromDate(date);
}

std::optional<platform::Date> dateWithDBFormat(std::optional<std::string_view> text) {
  return dateFormatter().dateFromDatabaseDateString(text);
}

}  // namespace wevora
