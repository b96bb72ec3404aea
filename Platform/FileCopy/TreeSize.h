#pragma once

#include <cstdint>
#include <string>

namespace wevora::platform {

/// The bytes of a file, or of all files in a folder; what cannot be read counts as none.
/// Threads: any.
std::uint64_t bytesOfFiles(const std::string& path);

}  // namespace wevora::platform
