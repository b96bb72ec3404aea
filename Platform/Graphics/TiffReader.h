#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "Platform/Graphics/Bitmap.h"

namespace wevora::platform {

/// One representation for each directory of a TIFF file. The directory's resolution determines its
/// size in points: 144 pixels per inch are two pixels per point. Empty if any directory is
/// malformed.
std::vector<ImageRep> tiffRepresentations(std::span<const std::byte> file);

}  // namespace wevora::platform
