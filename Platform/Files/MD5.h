#pragma once

#include <optional>
#include <string>

#include "Platform/Files/ByteProgress.h"

namespace wevora::platform {

/// The MD5 digest of a file's bytes, as 32 lower-case hexadecimal digits; nullopt when the file
/// cannot be opened, is not a regular file, or cannot be read completely. Reads 16 KiB at a time.
/// Thread-safety: safe from any thread.
std::optional<std::string> md5OfFile(const std::string& path, const ByteProgress& progress = {});

}  // namespace wevora::platform
