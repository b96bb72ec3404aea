#pragma once

#include <string>
#include <string_view>

namespace wevora {

/// The path relative to the volume at `mountPoint` (given without a trailing separator), always
/// beginning with "/". The prefix is one of characters, not of components; a path that does not
/// begin with it gives "/".
// -stringByCuttingMountPoint:
std::string stringByCuttingMountPoint(std::string_view receiver, std::string_view mountPoint);

/// The full path of a path that is relative to the volume at `mountPoint`.
// -stringByAddingMountPoint:
std::string stringByAddingMountPoint(std::string_view receiver, std::string_view mountPoint);

}  // namespace wevora
