#pragma once

#include <cstdint>
#include <functional>

namespace wevora::platform {

/// Told how many bytes were handled since it was last called.
using ByteProgress = std::function<void(std::uint64_t bytes)>;

}  // namespace wevora::platform
