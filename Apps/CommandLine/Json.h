#pragma once

#include <string>
#include <string_view>

namespace wevora::command_line {

/// A text as a JSON string. A byte that is not UTF-8 becomes the lone surrogate U+DC00 plus the
/// byte, as Python's "surrogateescape" writes it, so that no path is lost.
std::string jsonString(std::string_view text);

}  // namespace wevora::command_line
