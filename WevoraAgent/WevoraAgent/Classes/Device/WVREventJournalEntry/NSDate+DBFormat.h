#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Base/Date.h"

namespace wevora {

/// Creates the formatter of the process and lets it learn of time zone changes. To be called once,
/// on the main thread; without it the formatter is made at its first use and stays in UTC.
void loadNSDateDBFormat();

/// The date's text in the database.
// -dbFormat
std::optional<std::string> dbFormat(const platform::Date& date);

/// The date of a database text; none stands for a value that is not a text.
// +dateWithDBFormat:
std::optional<platform::Date> dateWithDBFormat(std::optional<std::string_view> text);

}  // namespace wevora
