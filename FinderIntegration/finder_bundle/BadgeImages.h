#pragma once

#include "Platform/Graphics/Image.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora {

/// The badges: for each word an image, a copy of it that is flipped, and a small rendering.
/// Threads: the main thread; nothing but the flipped flags changes once they are loaded.
/// Owns: its images. Errors: what belongs to a file that is missing or no picture is null.
struct BadgeImages {
  /// From the installed bundle. The renderings are for 8 by 8 points in the current context.
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
