#pragma once

#include <string>
#include <string_view>

namespace wevora {

/// The path relative to the volume at `mountPoint` (without a trailing separator), always beginning
/// with "/". The prefix is compared by characters, not by components. A path without the prefix
/// gives "/".
// -stringByCuttingMountPoint:
std::string stringByCuttingMountPoint(std::string_view receiver, std::string_view mountPoint);

/// The full path for a path relative to the volume at `mountPoint`.
// -stringByAddingMountPoint:
std::string stringByAddingMountPoint(std::string_view receiver, std::string_view mountPoint);

}  // namespace wevora
