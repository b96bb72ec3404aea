#pragma once

#include <compare>
#include <map>
#include <string>

#include "Platform/Graphics/Image.h"
#include "Tests/HostSession/Screen.h"

namespace wevora::testing_host {

/// How much of the solid pixels of a badge, or of any other small picture, is there; 0 to 1. The
/// picture has so many pixels a point, and the badge is as large as it is shown.
double shareThere(const platform::Bitmap& badge, const platform::Bitmap& picture,
                  const platform::Rect& square, double scale = 1);

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

 private:
  struct Badge {
    platform::ImageRef image;
    struct Size {
      double points = 0;  ///< the side
      double scale = 1;   ///< pixels a point
      bool onDesktop = false;
      auto operator<=>(const Size&) const = default;
    };
    mutable std::map<Size, platform::BitmapRef> drawn;
    platform::BitmapRef ofSize(const Size& size) const;
  };
  std::map<std::string, Badge> badges_;
};

}  // namespace wevora::testing_host
