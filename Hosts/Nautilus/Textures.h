#pragma once

#include <cstddef>
#include <cstdint>
#include <gdk/gdk.h>
#include <unordered_map>

#include "Hosts/Nautilus/GObjectPtr.h"
#include "Platform/Graphics/Bitmap.h"

namespace wevora::nautilus {

/// The textures of the bitmaps that were drawn: a bitmap goes to the display once, not with each
/// frame.
/// Threads: the main thread. Owns: its textures, which share their bitmaps' pixels.
/// Errors: none.
class Textures {
 public:
  /// More than the badges have; when they are full, all are made anew.
  static constexpr std::size_t kKept = 128;

  GdkTexture* of(const platform::BitmapRef& bitmap);

 private:
  std::unordered_map<std::uint64_t, GObjectPtr<GdkTexture>> textures_;
};

/// A texture that nobody keeps.
GObjectPtr<GdkTexture> makeTexture(const platform::BitmapRef& bitmap);

}  // namespace wevora::nautilus
