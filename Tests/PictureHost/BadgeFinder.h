#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

#include "Platform/Graphics/Bitmap.h"
#include "Platform/Graphics/Geometry.h"

namespace wevora::testing_host {

/// The colours of a test image: one for its upper half, one for its lower half.
struct Halves {
  std::uint32_t upper;
  std::uint32_t lower;
};

inline constexpr Halves kGreen{0xFF00C000, 0xFF006000};
inline constexpr Halves kBlue{0xFF0000FF, 0xFF000080};
inline constexpr Halves kRed{0xFFFF0000, 0xFF800000};
inline constexpr Halves kSidebar{0xFF00FFFF, 0xFF008080};

/// Where a badge was found in a drawing.
struct BadgePlacement {
  platform::Rect frame;  ///< points, from the upper left corner
  bool upright = false;
  friend bool operator==(const BadgePlacement&, const BadgePlacement&) = default;
};

/// The placement of a whole badge: its bounding box holds one half above the other and nothing
/// else. Otherwise nullopt.
std::optional<BadgePlacement> findBadge(const platform::Bitmap& bitmap, const Halves& badge,
                                        double pixelsPerPoint = 1.0);
/// Whether any pixel has one of the badge's colours.
bool hasBadgePixels(const platform::Bitmap& bitmap, const Halves& badge);

void PrintTo(const BadgePlacement& placement, std::ostream* out);

}  // namespace wevora::testing_host
