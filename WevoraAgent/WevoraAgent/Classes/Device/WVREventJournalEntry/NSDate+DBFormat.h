#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Base/Date.h"

namespace wevora {

/// Creates the process-wide formatter and starts monitoring time zone changes. Call once, on the
/// main thread. Without this call the formatter is created on first use and stays in UTC.
void loadNSDateDBFormat();

/// Formats a date as database text.
// -dbFormat
std::optional<std::string> dbFormat(const platform::Date& date);

/// Parses database text. Pass nullopt for a value that is not text.
// +dateWithDBFormat:
std::optional<platform::Date> dateWithDBFormat(std::optional<std::string_view> text);

}  // namespace wevora
