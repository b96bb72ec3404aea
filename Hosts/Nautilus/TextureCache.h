#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <gsk/gsk.h>
#include <map>
#include <memory>
#include <tuple>

#include "Platform/Base/GObjectPtr.h"
#include "Platform/Graphics/Bitmap.h"
#include "Platform/Graphics/DrawingTarget.h"

namespace wevora::nautilus {

using platform::GObjectPtr;

struct RenderNodeUnref {
  void operator()(GskRenderNode* node) const noexcept { gsk_render_node_unref(node); }
};
using RenderNodePtr = std::unique_ptr<GskRenderNode, RenderNodeUnref>;

/// What a host draws of a bitmap: ready for the display's pixels, and without the clear part around
/// it, so that a frame has the least to copy and nothing to scale.
/// Threads: a value. Owns: its texture and its node. Errors: without both where nothing is to be
/// seen.
struct CachedTexture {
  GObjectPtr<GdkTexture> texture;
  /// The same for a renderer without hardware, which copies a texture with each frame; at 0, 0.
  RenderNodePtr recorded;
  platform::Rect part;  ///< where it lies in the drawing's destination, points
};

/// The pieces of the bitmaps that were drawn: a bitmap goes to the display once, not with each
/// frame.
/// Threads: the main thread. Owns: its pieces.
/// Errors: none.
class TextureCache {
 public:
  /// More than the badges have; when they are full, all are made anew.
  static constexpr std::size_t kKept = 128;

  /// For a target whose y grows downwards; good until the next is asked for.
  const CachedTexture& of(const platform::BitmapRef& bitmap, const platform::BitmapDrawing& drawing,
                          double deviceScale);

 private:
  /// The bitmap, its source, the size that it is drawn in and at which scale, upside down or not.
  using Key = std::tuple<std::uint64_t, std::array<double, 7>, bool>;
  std::map<Key, CachedTexture> cachedTextures_;
};

/// A texture that nobody keeps.
GObjectPtr<GdkTexture> makeTexture(const platform::BitmapRef& bitmap);

}  // namespace wevora::nautilus
