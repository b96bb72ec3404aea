#pragma once

#include <map>
#include <string>
#include <utility>

#include "Platform/Graphics/Image.h"
#include "Tests/HostSession/Screen.h"

namespace wevora::testing_host {

/// How much of the solid pixels of a badge, or of any other small picture, is there; 0 to 1.
double shareThere(const platform::Bitmap& badge, const platform::Bitmap& picture,
                  const platform::Rect& square);

/// Tells by a picture's pixels which badge an icon has.
/// Threads: one. Owns: the badges. Errors: throws where the bundle has no badges.
class BadgeReader {
 public:
  /// With the badges of a bundle, by its folder of resources.
  explicit BadgeReader(const std::string& resources);

  /// "green", "blue", "red", or "" for an icon without one; "unclear" for a part of one.
  std::string wordAt(const platform::Bitmap& picture, const Place& icon) const;

 private:
  struct Badge {
    platform::ImageRef image;
    mutable std::map<std::pair<std::size_t, bool>, platform::BitmapRef> drawn;
    /// The side is in pixels.
    platform::BitmapRef ofSide(std::size_t side, bool onDesktop) const;
  };
  std::map<std::string, Badge> badges_;
};

}  // namespace wevora::testing_host
