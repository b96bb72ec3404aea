#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace wevora::platform {

/// Reads a whole regular file. Returns nullopt if the path is not a readable regular file or if the
/// file is larger than `largest` bytes. Never blocks: a FIFO at the path is opened without waiting
/// for a writer. If the file changes during the read, at most its initial size is read.
std::optional<std::string> contentsOfRegularFile(const std::string& path, std::size_t largest);

}  // namespace wevora::platform
