#pragma once

#include <map>
#include <string>

#include "Platform/Graphics/Image.h"
#include "Tests/NautilusHost/Screen.h"

namespace wevora::testing_host {

/// Tells by a picture's pixels which badge an icon has.
/// Threads: one. Owns: the badges. Errors: throws where the bundle has no badges.
class BadgeReader {
 public:
  /// With the badges of a bundle, by its folder of resources.
  explicit BadgeReader(const std::string& resources);

  /// "green", "blue", "red", or "" for an icon without one; "unclear" for a part of one.
  std::string wordAt(const platform::Bitmap& picture, const Place& icon) const;
  /// Whether a row of the sidebar shows the bundle's own picture.
  bool isDriveAt(const platform::Bitmap& picture, const Place& row) const;

 private:
  struct Badge {
    platform::ImageRef image;
    mutable std::map<std::size_t, platform::BitmapRef> drawn;  ///< by the side, pixels
    platform::BitmapRef ofSide(std::size_t side) const;
  };
  std::map<std::string, Badge> badges_;
  Badge drive_;
};

}  // namespace wevora::testing_host
