#pragma once

#include <sys/types.h>
#include <system_error>

#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Copies the bytes of one open file into another, new one: by a reflink where the volume supports
/// it, else with copy_file_range(2), else by reading and writing. Holes are preserved. `size` is
/// the size of the source; a source of size 0 is read to its end, because files in /proc report 0.
std::error_code copyData(FileSystemCalls& calls, int from, int to, off_t size,
                         const ByteProgress& progress);

}  // namespace wevora::platform
