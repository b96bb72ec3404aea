#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "Platform/Base/Date.h"

namespace wevora::platform {

// File status, as stat(2) returns it. On failure the functions return nullopt and set errno.
// Thread-safety: safe from any thread.

using FileStat = struct stat;

/// lstat(2): a symbolic link is not followed.
std::optional<FileStat> statOf(const std::string& path) noexcept;
std::optional<FileStat> statOf(int folder, const std::string& name) noexcept;
/// fstat(2) of an open file or folder.
std::optional<FileStat> statOf(int file) noexcept;
/// stat(2): symbolic links are followed.
std::optional<FileStat> statOfTarget(const std::string& path) noexcept;

inline bool isDirectory(const FileStat& status) noexcept {
  return S_ISDIR(status.st_mode);
}
inline bool isDirectory(const std::optional<FileStat>& status) noexcept {
  return status && isDirectory(*status);
}
inline bool isRegularFile(const FileStat& status) noexcept {
  return S_ISREG(status.st_mode);
}
inline bool isRegularFile(const std::optional<FileStat>& status) noexcept {
  return status && isRegularFile(*status);
}
Date modificationDate(const FileStat& status) noexcept;

/// Identifies an item independently of its path.
struct ItemIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  static ItemIdentity of(const FileStat& status) { return {status.st_dev, status.st_ino}; }
  friend bool operator==(const ItemIdentity&, const ItemIdentity&) = default;
};

/// Whether errno says that no such item exists. After any other error the item may exist.
bool isNotFound(int error) noexcept;

/// Whether this process may read the item; symbolic links are followed.
bool isReadableFileAtPath(const std::string& path) noexcept;

/// The target text of a symbolic link; nullopt with errno set.
std::optional<std::string> linkTarget(const std::string& path);
std::optional<std::string> linkTarget(int folder, const std::string& name);

/// The folder that contains a path's item; "." for a bare name.
std::string parentFolderOf(std::string_view path);

}  // namespace wevora::platform
