#include "Platform/PropertyLists/XmlScalars.h"

#include <array>
#include <charconv>
#include <chrono>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace wevora::platform {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// All of the text as a number of this many digits.
std::optional<int> digits(std::string_view text, std::size_t place, std::size_t count) {
  int number = 0;
  for (const char c : text.substr(place, count)) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + (c - '0');
  }
  return number;
}

constexpr std::array<int, 256> kBase64Digits = [] {
  std::array<int, 256> result{};
  result.fill(-1);
  for (std::size_t i = 0; i < kBase64.size(); ++i)
    result[static_cast<unsigned char>(kBase64[i])] = static_cast<int>(i);
  return result;
}();

}  // namespace

std::optional<Value> integerOfXml(std::string_view text) {
  text = trimmed(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  std::uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
  if (text.empty() || read.ptr != end) return std::nullopt;
  if (read.ec == std::errc::result_out_of_range) return Value(Opaque());
  if (read.ec != std::errc()) return std::nullopt;
  if (!negative) return Value(number);
  constexpr auto kSmallest = std::uint64_t{1} << 63U;
  if (number > kSmallest) return Value(Opaque());
  return Value(static_cast<std::int64_t>(0 - number));
}

std::optional<double> realOfXml(const std::string& text) {
  static const locale_t kPlain = ::newlocale(LC_ALL_MASK, "C", nullptr);
  const std::string number(trimmed(text));
  if (number.empty() || kPlain == nullptr) return std::nullopt;
  char* end = nullptr;
  const double result = ::strtod_l(number.c_str(), &end, kPlain);
  return end == number.c_str() + number.size() ? std::optional(result) : std::nullopt;
}

std::optional<Date> dateOfXml(std::string_view text) {
  namespace chrono = std::chrono;
  constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
  text = trimmed(text);
  if (text.size() != kForm.size()) return std::nullopt;
  for (std::size_t i = 0; i < kForm.size(); ++i)
    if (kForm[i] != '0' && text[i] != kForm[i]) return std::nullopt;
  const auto year = digits(text, 0, 4);
  const auto month = digits(text, 5, 2);
  const auto day = digits(text, 8, 2);
  const auto hour = digits(text, 11, 2);
  const auto minute = digits(text, 14, 2);
  const auto second = digits(text, 17, 2);
  if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
  const chrono::year_month_day date{chrono::year(*year),
                                    chrono::month(static_cast<unsigned>(*month)),
                                    chrono::day(static_cast<unsigned>(*day))};
  // 60 is a leap second.
  if (!date.ok() || *hour > 23 || *minute > 59 || *second > 60) return std::nullopt;
  const auto days = static_cast<double>(chrono::sys_days(date).time_since_epoch().count());
  return Date{days * 86400 + *hour * 3600.0 + *minute * 60.0 + *second};
}

std::optional<Data> dataOfXml(std::string_view text) {
  Data data;
  data.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  std::size_t characters = 0;
  std::size_t padding = 0;
  for (const char c : text) {
    if (kBlanks.find(c) != kBlanks.npos) continue;
    ++characters;
    if (c == '=') {
      ++padding;
      continue;
    }
    const int digit = kBase64Digits[static_cast<unsigned char>(c)];
    if (digit < 0 || padding != 0) return std::nullopt;
    bits = bits << 6U | static_cast<unsigned>(digit);
    if (characters % 4 != 1)
      data.push_back(static_cast<std::byte>(bits >> (2 * (3 - (characters - 1) % 4)) & 0xFFU));
  }
  return characters % 4 == 0 && padding <= 2 ? std::optional(std::move(data)) : std::nullopt;
}

std::optional<std::string> xmlOfReal(double number) {
  if (!std::isfinite(number)) return std::nullopt;
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.data(), text.data() + text.size(), number);
  return std::string(text.data(), written.ptr);
}

std::optional<std::string> xmlOfDate(const Date& date) {
  namespace chrono = std::chrono;
  constexpr double kFirst = -62135596800;
  constexpr double kEnd = 253402300800;
  if (!(date.secondsSince1970 >= kFirst && date.secondsSince1970 < kEnd)) return std::nullopt;
  const chrono::sys_seconds time(
      chrono::seconds(static_cast<std::int64_t>(std::floor(date.secondsSince1970))));
  const auto day = chrono::floor<chrono::days>(time);
  const chrono::year_month_day calendar(day);
  const chrono::hh_mm_ss clock(time - day);
  std::array<char, 64> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(calendar.year()),
      static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()));
  return std::string(text.data(), static_cast<std::size_t>(length));
}

std::string base64Of(const Data& data) {
  std::string text;
  text.reserve((data.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < data.size(); i += 3) {
    const auto at = [&](std::size_t place) {
      return place < data.size() ? std::to_integer<std::uint32_t>(data[place]) : 0U;
    };
    const std::uint32_t bits = at(i) << 16U | at(i + 1) << 8U | at(i + 2);
    text += kBase64[bits >> 18U];
    text += kBase64[bits >> 12U & 63U];
    text += i + 1 < data.size() ? kBase64[bits >> 6U & 63U] : '=';
    text += i + 2 < data.size() ? kBase64[bits & 63U] : '=';
  }
  return text;
}

}  // namespace wevora::platform
