#pragma once

#include <string>

namespace wevora::platform {

/// The path with every symbolic link resolved; missing components at its end stay unchanged.
/// Returns the path unchanged on failure, for example for a loop.
/// Thread-safety: safe from any thread.
std::string resolvedPath(const std::string& path);

/// The target of one symbolic link, which may be a link again; the folders in its path are
/// resolved. Returns the path unchanged when it is not a link, or when the target is missing.
/// Thread-safety: safe from any thread.
std::string afterOneLink(const std::string& path);

}  // namespace wevora::platform
