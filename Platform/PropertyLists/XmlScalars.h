#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/PropertyLists/Value.h"

namespace wevora::platform {

// The texts of an XML list's scalar elements. Reading accepts white space around the text.

/// Decimal or, after "0x", hexadecimal. A number that 64 bits cannot hold is an Opaque.
std::optional<Value> integerOfXml(std::string_view text);
/// With a point and an exponent, in every locale; also "nan", "inf" and "infinity".
std::optional<double> realOfXml(const std::string& text);
/// "2001-01-01T00:00:00Z", with a date of the calendar.
std::optional<Date> dateOfXml(std::string_view text);
/// Base64, with white space anywhere.
std::optional<Data> dataOfXml(std::string_view text);

/// The shortest text that reads as the same number; null for one that is not finite.
std::optional<std::string> xmlOfReal(double number);
/// Null outside the years 1 to 9999.
std::optional<std::string> xmlOfDate(const Date& date);
std::string base64Of(const Data& data);

}  // namespace wevora::platform
