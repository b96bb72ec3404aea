#pragma once

#include <string>
#include <system_error>

#include "Platform/Files/FileStat.h"

namespace wevora::platform {

/// Removes the access control lists that a new file or folder has inherited from its folder. The
/// mode set later would otherwise activate them and grant access to users whom the source denies.
std::error_code removeInheritedAcl(int item);

/// Copies owner, extended attributes, mode and dates of an open file or folder. Skips attributes
/// that the volume does not support or that this user may not set; other failures are errors.
/// `status` is that of `from`, taken before its contents were read.
std::error_code copyAttributes(int from, int to, const FileStat& status);

/// The same for symbolic links, each relative to an open folder.
std::error_code copyLinkAttributes(int fromFolder, const std::string& from, int toFolder,
                                   const std::string& to, const FileStat& status);

}  // namespace wevora::platform
