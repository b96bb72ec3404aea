#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "Platform/Graphics/Bitmap.h"

namespace wevora::platform {

/// The representations of an icon family. Errors: one that is not whole has none.
std::vector<ImageRep> icnsRepresentations(std::span<const std::byte> file);

}  // namespace wevora::platform
