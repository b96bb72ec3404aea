#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace wevora::platform {

/// All bytes of a file; none for anything but a regular file of at most so many bytes that can be
/// read. Never waits for a writer: a pipe may lie in the file's place. The file may change
/// meanwhile: what it had at first is what is read, or less.
std::optional<std::string> contentsOfRegularFile(const std::string& path, std::size_t largest);

}  // namespace wevora::platform
