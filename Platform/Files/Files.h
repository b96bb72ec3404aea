#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Base/Date.h"

namespace wevora::platform {

// Questions about what is on disk. Every failure is an answer ("no", none), never an error.
// Threads: any.

/// What exists at a path, symbolic links followed.
struct Existence {
  bool exists = false;
  bool isDirectory = false;
};
Existence fileExistsAtPath(const std::string& path) noexcept;

/// Whether this process may read the item.
bool isReadableFileAtPath(const std::string& path) noexcept;

/// Facts about the item itself; a symbolic link is not followed.
struct FileAttributes {
  std::uint64_t size = 0;  ///< bytes
  Date modificationDate;
  bool isDirectory = false;
};
std::optional<FileAttributes> attributesOfItemAtPath(const std::string& path) noexcept;

}  // namespace wevora::platform
