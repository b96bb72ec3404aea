#pragma once

#include <string>
#include <system_error>

#include "Platform/Files/FileStat.h"

namespace wevora::platform {

/// Takes from an open file or folder, which was just made, what it inherited from the access lists
/// of its folder: as it was made for its owner alone, it would be opened to others with its mode.
std::error_code dropInheritedRights(int item);

/// Gives an open file or folder what another has beside its contents: owner, extended attributes,
/// mode and dates. What the volume cannot hold, or this user may not set, is left out; other
/// failures are errors. `facts` are those of `from`, learned before it was read.
std::error_code copyAttributes(int from, int to, const ItemFacts& facts);

/// The same for symbolic links, each in an open folder.
std::error_code copyLinkAttributes(int fromFolder, const std::string& from, int toFolder,
                                   const std::string& to, const ItemFacts& facts);

}  // namespace wevora::platform
