#pragma once

#include <sys/types.h>
#include <system_error>

#include "Platform/Files/ByteProgress.h"
#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::platform {

/// Copies the bytes of one open file into another, new one: shared where the volume can, else by
/// the kernel, else by reading and writing. Holes stay holes. `size` is that of the source; a
/// source of size 0 is read to its end, for such a file of the system may have contents.
std::error_code copyData(FileSystemCalls& calls, int from, int to, off_t size,
                         const ByteProgress& progress);

}  // namespace wevora::platform
