#pragma once

#include <string>

namespace wevora::platform {

/// The path with every symbolic link in it resolved; what does not exist at its end stays as text.
/// Unchanged when that fails, as for a loop. Threads: any.
std::string resolvedPath(const std::string& path);

/// Where one symbolic link points, itself possibly a link; the folders on the way are resolved.
/// Unchanged when the path is no link, or one that leads nowhere. Threads: any.
std::string afterOneLink(const std::string& path);

}  // namespace wevora::platform
