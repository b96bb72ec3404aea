#pragma once

#include <optional>
#include <string>

namespace wevora::platform {

/// The path from the root of one that may begin in the working folder; none for such a one where
/// the working folder is gone. Threads: any.
std::optional<std::string> absolutePath(const std::string& path);

}  // namespace wevora::platform
