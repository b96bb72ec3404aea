#pragma once

#include <string>
#include <sys/stat.h>

namespace wevora::platform {

/// As chmod(2).
using ChangeMode = int (*)(const char* path, mode_t mode);

/// Makes a folder with exactly these permission bits, whatever the process's umask; a volume that
/// holds no such bits gives its own. False when it exists already or cannot be made; nothing is
/// left of what was begun. Threads: any.
bool makeFolder(const std::string& path, mode_t mode, ChangeMode change = ::chmod);

/// The same with the folders above it that are missing, which get the same bits; a folder that
/// exists already is left as it is and counts as made.
bool makeFolderWithParents(const std::string& path, mode_t mode, ChangeMode change = ::chmod);

/// Follows symbolic links.
bool changeMode(const std::string& path, mode_t mode);

}  // namespace wevora::platform
