#pragma once

#include <compare>
#include <map>
#include <string>

#include "Platform/Graphics/Image.h"
#include "Tests/HostSession/Screen.h"

namespace wevora::testing_host {

/// The share of the solid pixels of a badge, or of any other small picture, that a picture shows in
/// a square: 0 to 1. The scale is the picture's pixels for each point; the badge has the size in
/// which it is shown.
double shareShown(const platform::Bitmap& badge, const platform::Bitmap& picture,
                  const platform::Rect& square, double scale = 1);

/// Finds out from a picture's pixels which badge an icon has.
/// Errors: the constructor throws where the bundle has no badges.
class BadgeReader {
 public:
  /// By the bundle's folder of resources.
  explicit BadgeReader(const std::string& resources);

  /// "green", "blue", "red", "" for an icon without a badge, or "unclear" for a part of one.
  std::string wordAt(const platform::Bitmap& picture, const Place& icon, double scale = 1) const;
  /// The difference between an icon and a badge: the mean of a colour channel, of 255, over the
  /// solid pixels of the badge. The badge is the one for displays of so many pixels for each point,
  /// enlarged where the picture has more.
  double differenceAt(const Capture& capture, const Place& icon, const std::string& word,
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
