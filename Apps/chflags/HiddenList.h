#pragma once

#include <chrono>
#include <string>

namespace wevora::chflags {

/// Adds an item's name to the ".hidden" file of its folder, unless it is listed already, or removes
/// it. The other lines stay unchanged; the file is replaced atomically, and removed when it becomes
/// empty. A link at the end of the path is not followed.
/// Thread-safety: safe from any thread. A file lock on the folder serializes processes; the call
///   fails when it does not get the lock within `lockTimeout`.
/// Errors: throws std::runtime_error with the reason in one line for a name with a line break, for
///   an item to hide that is missing, and for a folder that cannot be changed. The ".hidden" file
///   is then unchanged.
void setHidden(const std::string& path, bool hidden,
               std::chrono::milliseconds lockTimeout = std::chrono::seconds(5));

}  // namespace wevora::chflags
