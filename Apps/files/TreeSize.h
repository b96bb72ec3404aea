#pragma once

#include <cstdint>
#include <string>

namespace wevora::files {

/// The total size in bytes of a file, or of all files in a folder. Unreadable items count as 0.
/// Thread-safety: safe from any thread.
std::uint64_t bytesOfFiles(const std::string& path);

}  // namespace wevora::files
