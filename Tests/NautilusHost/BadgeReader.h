#pragma once

#include <map>
#include <string>
#include <utility>

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
  std::string wordAt(const platform::Bitmap& picture, const Place& icon, double scale = 1) const;

  /// How far what the icon shows is from a word's badge: the mean difference of a colour, of 255,
  /// where the badge is solid. The badge is the one for displays of so many pixels a point, made
  /// larger where the picture has more.
  double differenceAt(const Look& look, const Place& icon, const std::string& word,
                      double drawnFor) const;
  /// Whether a row of the sidebar shows the bundle's own picture.
  bool isDriveAt(const platform::Bitmap& picture, const Place& row) const;

 private:
  struct Badge {
    platform::ImageRef image;
    using Size = std::pair<double, double>;  ///< the side, points, and the pixels for each
    mutable std::map<Size, platform::BitmapRef> drawn;
    platform::BitmapRef ofSide(double points, double scale) const;
  };
  std::map<std::string, Badge> badges_;
  Badge drive_;
};

}  // namespace wevora::testing_host
