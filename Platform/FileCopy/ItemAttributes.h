#pragma once

#include <string>
#include <sys/stat.h>
#include <system_error>

namespace wevora::platform {

/// Gives `to` what `from` has beside its contents: owner, extended attributes, mode and dates. What
/// the volume cannot hold, or this user may not set, is left out; other failures are errors.
/// Neither path is followed when it is a link. `facts` are those of `from`, learned before it was
/// read.
std::error_code copyAttributes(const std::string& from, const std::string& to,
                               const struct stat& facts);

}  // namespace wevora::platform
