#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "Platform/Graphics/Bitmap.h"

namespace wevora::platform {

/// A representation for each directory of the file; its resolution tells the points of a pixel
/// (144 an inch: two pixels a point). Errors: a file with one bad directory has none.
std::vector<ImageRep> tiffRepresentations(std::span<const std::byte> file);

}  // namespace wevora::platform
