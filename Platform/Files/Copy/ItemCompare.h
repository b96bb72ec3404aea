#pragma once

#include <string>

#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Whether two items have the same contents. Items that cannot be read, or are nested deeper than
/// TreeCopy::kMaxDepth, are not equal. `progress` receives the bytes of each file once.
bool itemsEqual(FileSystemCalls& calls, const ByteProgress& progress, const std::string& path,
                const std::string& other);

}  // namespace wevora::platform
