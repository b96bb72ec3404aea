#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/WVRDatabaseDateFormatter.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "Platform/Base/Strings.h"

namespace wevora {
namespace {

constexpr double kUnitsPerSecond = 10000000.0;
constexpr std::size_t kWholeSecondsLength = 19;  // "yyyy-MM-dd HH:mm:ss"

/// The number of `count` digits at `at`, or -1 if one of them is not a digit.
int digits(std::string_view text, std::size_t at, std::size_t count) {
  int value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return -1;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

/// Seconds since 1970 of "yyyy-MM-dd HH:mm:ss" in UTC.
std::optional<std::int64_t> wholeSeconds(std::string_view text) {
  if (text[4] != '-' || text[7] != '-' || text[10] != ' ' || text[13] != ':' || text[16] != ':')
    return std::nullopt;
  const int year = digits(text, 0, 4);
  const int month = digits(text, 5, 2);
  const int day = digits(text, 8, 2);
  const int hour = digits(text, 11, 2);
  const int minute = digits(text, 14, 2);
  const int second = digits(text, 17, 2);
  if (year < 1 || month < 0 || day < 0 || hour < 0 || hour > 23 || minute < 0 || minute > 59 ||
      second < 0 || second > 59)
    return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) return std::nullopt;
  const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  return ((days * 24 + hour) * 60 + minute) * 60 + second;
}

/// The number at the beginning of the text, after blanks; 0 if there is none.
double leadingNumber(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  const auto first = text.find_first_not_of('-');
  if (first == std::string_view::npos || (text[first] != '.' && digits(text, first, 1) < 0))
    return 0;
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() ? value : 0;
}

/// The text after the separator that follows the whole seconds; nullopt if there is none.
std::optional<std::string_view> fractionOf(std::string_view text) {
  auto rest = text.substr(kWholeSecondsLength);
  if (rest.empty()) return std::nullopt;
  const auto separator = platform::firstCharacter(rest);
  rest.remove_prefix(separator.bytes);
  // A separator of two UTF-16 units is cut in half, and the rest is not a number.
  if (separator.units == 2) return std::string_view();
  return rest.empty() ? std::nullopt : std::optional(rest);
}

}  // namespace

WVRDatabaseDateFormatter::WVRDatabaseDateFormatter(platform::LocalNotificationCenter& center,
                                                   const platform::TimeZones& zones)
    : zones_(zones),
      observation_(center.observe(platform::kSystemTimeZoneDidChangeNotification,
                                  [this](const platform::Notification& notification) {
                                    systemTimeZoneChangedNotificationReceived(notification);
                                  })) {}

WVRDatabaseDateFormatter::~WVRDatabaseDateFormatter() = default;

std::int64_t WVRDatabaseDateFormatter::offsetAtUtc(std::int64_t seconds) const {
  const platform::MutexLock lock(monitor_);
  return zone_ ? zone_->offsetAtUtc(seconds) : 0;
}

std::int64_t WVRDatabaseDateFormatter::offsetAtLocal(std::int64_t seconds) const {
  const platform::MutexLock lock(monitor_);
  return zone_ ? zone_->offsetAtLocal(seconds) : 0;
}

std::optional<std::string> WVRDatabaseDateFormatter::databaseDateStringFromDate(
    std::optional<platform::Date> date) const {
  if (!date) return std::nullopt;
  constexpr double kYear1 = -62135596800.0;
  constexpr double kYear10000 = 253402300800.0;
  const double x = date->secondsSince1970;
  // Two days away from the limits, so that no time zone offset exceeds them.
  if (!(x >= kYear1 + 172800 && x < kYear10000 - 172800)) return std::nullopt;
  const auto utc = static_cast<std::int64_t>(std::floor(x));
  const std::chrono::sys_seconds local{std::chrono::seconds(utc + offsetAtUtc(utc))};
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(local - day);
  const auto fraction = static_cast<std::int32_t>((x - std::floor(x)) * kUnitsPerSecond);
  std::array<char, 64> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d.%07d",
      static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
      static_cast<unsigned>(calendar.day()), static_cast<int>(time.hours().count()),
      static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()), fraction);
  return std::string(text.data(), static_cast<std::size_t>(length));
}

std::optional<platform::Date> WVRDatabaseDateFormatter::dateFromDatabaseDateString(
    std::optional<std::string_view> text) const {
  if (!text || text->size() <= kWholeSecondsLength) return std::nullopt;
  const auto local = wholeSeconds(*text);
  if (!local) return std::nullopt;
  const auto fraction = fractionOf(*text);
  if (!fraction) return std::nullopt;
  const std::int64_t utc = *local - offsetAtLocal(*local);
  return platform::Date{static_cast<double>(utc) + leadingNumber(*fraction) / kUnitsPerSecond};
}

void WVRDatabaseDateFormatter::systemTimeZoneChangedNotificationReceived(
    const platform::Notification& notification) {
  if (notification.name != platform::kSystemTimeZoneDidChangeNotification) return;
  auto zone = zones_.systemTimeZone();
  if (!zone) return;
  const platform::MutexLock lock(monitor_);
  zone_ = std::move(zone);
}

}  // namespace wevora
