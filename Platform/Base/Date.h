#pragma once

#include <compare>

namespace wevora::platform {

/// A point in time: seconds since 1970-01-01 00:00:00 UTC, as a double.
struct Date {
  double secondsSince1970 = 0;

  friend constexpr auto operator<=>(const Date&, const Date&) = default;
  /// Seconds from `earlier` to `later`.
  friend constexpr double operator-(const Date& later, const Date& earlier) {
    return later.secondsSince1970 - earlier.secondsSince1970;
  }
  friend constexpr Date operator+(const Date& date, double seconds) {
    return Date{date.secondsSince1970 + seconds};
  }
};

}  // namespace wevora::platform
