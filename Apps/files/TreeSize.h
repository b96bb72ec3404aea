#pragma once

#include <cstdint>
#include <string>

namespace wevora::files {

/// The bytes of a file, or of all files in a folder; what cannot be read counts as none.
/// Threads: any.
std::uint64_t bytesOfFiles(const std::string& path);

}  // namespace wevora::files
