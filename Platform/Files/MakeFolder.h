#pragma once

#include <string>
#include <sys/stat.h>

namespace wevora::platform {

/// Signature of chmod(2).
using ChangeMode = int (*)(const char* path, mode_t mode);

/// Creates a folder with exactly these permission bits, independently of the umask; a volume
/// without permission bits applies its own. False when it exists already or cannot be created; a
/// partial result is removed. Thread-safety: safe from any thread.
bool makeFolder(const std::string& path, mode_t mode, ChangeMode change = ::chmod);

/// The same, including missing parent folders, which get the same bits; a folder that exists
/// already stays unchanged and counts as success.
bool makeFolderWithParents(const std::string& path, mode_t mode, ChangeMode change = ::chmod);

/// chmod(2): symbolic links are followed.
bool changeMode(const std::string& path, mode_t mode);

}  // namespace wevora::platform
