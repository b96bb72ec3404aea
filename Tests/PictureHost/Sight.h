#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

#include "Platform/Graphics/Bitmap.h"
#include "Platform/Graphics/Geometry.h"

namespace wevora::testing_host {

/// The two colours of a picture of two halves.
struct Halves {
  std::uint32_t upper;
  std::uint32_t lower;
};

inline constexpr Halves kGreen{0xFF00C000, 0xFF006000};
inline constexpr Halves kBlue{0xFF0000FF, 0xFF000080};
inline constexpr Halves kRed{0xFFFF0000, 0xFF800000};
inline constexpr Halves kSidebar{0xFF00FFFF, 0xFF008080};

/// Where such a picture is seen.
struct Sight {
  platform::Rect frame;  ///< points, from the upper left corner
  bool upright = false;
  friend bool operator==(const Sight&, const Sight&) = default;
};

/// None unless the picture is seen and fills its frame wholly, one half above the other.
std::optional<Sight> seen(const platform::Bitmap& bitmap, const Halves& picture,
                          double pixelsPerPoint = 1.0);
/// Whether a pixel has one of the colours.
bool anythingSeen(const platform::Bitmap& bitmap, const Halves& picture);

void PrintTo(const Sight& sight, std::ostream* out);

}  // namespace wevora::testing_host
