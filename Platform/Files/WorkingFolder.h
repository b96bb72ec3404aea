#pragma once

#include <optional>
#include <string>

namespace wevora::platform {

/// The standardized absolute path of a path that may be relative to the working folder; nullopt
/// for a relative path when the working folder was removed. Thread-safety: safe from any thread.
std::optional<std::string> absolutePath(const std::string& path);

}  // namespace wevora::platform
