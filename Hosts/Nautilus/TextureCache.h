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

/// A bitmap prepared for drawing: a texture in device pixels, so that no frame scales it, cropped
/// to its visible pixels, so that a frame copies as little as possible. Texture and node are null
/// if the bitmap is transparent.
struct CachedTexture {
  GObjectPtr<GdkTexture> texture;
  /// A cairo render node with the same pixels at (0, 0), for the cairo renderer, which would copy a
  /// texture with every frame.
  RenderNodePtr cairoNode;
  platform::Rect part;  ///< the cropped area in the drawing's destination, in points
};

/// Caches the textures of drawn bitmaps, so that a bitmap is scaled and uploaded once, not with
/// every frame.
/// Thread-safety: main thread only.
class TextureCache {
 public:
  /// More entries than the badges need. Eviction: a full cache is cleared.
  static constexpr std::size_t kMaxEntries = 128;

  /// For a target whose y grows downwards. Valid until the next call.
  const CachedTexture& of(const platform::BitmapRef& bitmap, const platform::BitmapDrawing& drawing,
                          double deviceScale);

 private:
  /// The bitmap's identity; its source rectangle, destination size and device scale; upside down.
  using Key = std::tuple<std::uint64_t, std::array<double, 7>, bool>;
  std::map<Key, CachedTexture> entries_;
};

/// A new texture, not cached. It shares the bitmap's pixels.
GObjectPtr<GdkTexture> makeTexture(const platform::BitmapRef& bitmap);

}  // namespace wevora::nautilus
