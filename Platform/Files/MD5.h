#pragma once

#include <optional>
#include <string>

#include "Platform/Files/ByteProgress.h"

namespace wevora::platform {

/// The MD5 digest of a file's bytes, as 32 lower-case hexadecimal digits; none when the file cannot
/// be opened, is no regular file, or cannot be read to its end. Memory: 16 KiB, whatever the file's
/// size. Threads: any.
std::optional<std::string> md5OfFile(const std::string& path, const ByteProgress& progress = {});

}  // namespace wevora::platform
