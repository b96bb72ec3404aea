#pragma once

#include "Platform/Graphics/Image.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora {

/// The badges: for each word an image, a flipped copy, and a small rendering. Only the flipped
/// flags change after loading. The main thread only.
/// Errors: the images of a missing or invalid file are null.
struct BadgeImages {
  /// Loads the installed bundle's files. Renders at 8 by 8 points for the current context.
  static BadgeImages load(const platform::InstalledPaths& paths);

  platform::ImageRef redImage;
  platform::ImageRef redImageFlipped;
  platform::BitmapRef red;

  platform::ImageRef greenImage;
  platform::ImageRef greenImageFlipped;
  platform::BitmapRef green;

  platform::ImageRef blueImage;
  platform::ImageRef blueImageFlipped;
  platform::BitmapRef blue;
};

}  // namespace wevora
