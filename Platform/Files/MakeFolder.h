#pragma once

#include <string>
#include <sys/types.h>

namespace wevora::platform {

/// Makes a folder with exactly these permission bits, whatever the process's umask. False when it
/// exists already or cannot be made. Threads: any.
bool makeFolder(const std::string& path, mode_t mode);

/// The same with the folders above it that are missing, which get the same bits; a folder that
/// exists already is left as it is and counts as made.
bool makeFolderWithParents(const std::string& path, mode_t mode);

/// Follows symbolic links.
bool changeMode(const std::string& path, mode_t mode);

}  // namespace wevora::platform
