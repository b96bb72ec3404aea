#pragma once

#include <string>
#include <string_view>

namespace wevora::command_line {

/// A path as a person wrote it, made absolute. A ".." leads where the kernel would go, a link
/// before it followed; a link at the end stays a link. Throws WrongUsage for an empty path, and a
/// runtime_error when there is no current folder.
std::string pathArgument(const std::string& path);

/// A text in one line: control characters become "\x0a".
std::string oneLine(std::string_view text);

}  // namespace wevora::command_line
