#pragma once

#include <string>

#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Whether two items have the same contents; what cannot be read, or is deeper than a copy can be,
/// is not equal. `progress` is told the bytes of each file once. Threads: any, if the calls are.
bool itemsEqual(FileSystemCalls& calls, const ByteProgress& progress, const std::string& path,
                const std::string& other);

}  // namespace wevora::platform
