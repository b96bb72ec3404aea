#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "Platform/Graphics/Bitmap.h"

namespace wevora::platform {

/// The representations of an icon family (.icns); empty if the file is truncated or malformed.
std::vector<ImageRep> icnsRepresentations(std::span<const std::byte> file);

}  // namespace wevora::platform
