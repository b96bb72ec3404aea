#pragma once

#include <cstdint>
#include <functional>

namespace wevora::platform {

/// Called with the number of bytes processed since the previous call.
using ByteProgress = std::function<void(std::uint64_t bytes)>;

}  // namespace wevora::platform
