#pragma once

#include <string>
#include <string_view>

namespace wevora::command_line {

/// Encodes a text as a JSON string. A byte that is not UTF-8 becomes the lone surrogate U+DC00 plus
/// the byte, as in Python's "surrogateescape", so that every path can be restored.
std::string jsonString(std::string_view text);

}  // namespace wevora::command_line
