#pragma once

#include <span>
#include <string>
#include <string_view>

namespace wevora::command_line {

/// Makes a path of the command line absolute. A ".." leads where the kernel would go, through links
/// before it; a link at the end stays a link. Throws UsageError for an empty path, and
/// runtime_error when the current folder was deleted.
std::string pathArgument(const std::string& path);

/// Throws UsageError when a path is empty.
void requireNonEmptyPaths(std::span<const std::string> paths);

/// The text with control characters escaped, as in "\x0a".
std::string oneLine(std::string_view text);

}  // namespace wevora::command_line
