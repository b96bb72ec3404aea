#include "Hosts/Nautilus/TextureCache.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Platform/Graphics/BitmapContext.h"

namespace wevora::nautilus {
namespace {

using platform::Bitmap;
using platform::BitmapContext;
using platform::BitmapDrawing;
using platform::BitmapRef;
using platform::Rect;

std::size_t pixelsOf(double points, double deviceScale) {
  return static_cast<std::size_t>(
      std::clamp(std::round(points * deviceScale), 1.0, static_cast<double>(Bitmap::kLongestSide)));
}

/// The bitmap scaled and oriented for the drawing, in device pixels.
BitmapRef rendered(const BitmapRef& bitmap, BitmapDrawing drawing, double deviceScale) {
  const std::size_t width = pixelsOf(drawing.destination.width, deviceScale);
  const std::size_t height = pixelsOf(drawing.destination.height, deviceScale);
  const auto context = BitmapContext::create({.width = width, .height = height, .flipped = true});
  if (!context) return nullptr;
  drawing.destination = {0, 0, static_cast<double>(width), static_cast<double>(height)};
  drawing.fraction = 1.0;
  context->drawBitmap(bitmap, drawing);
  return context->createImage();
}

struct PixelRange {
  std::size_t from;
  std::size_t to;  ///< exclusive
};

/// The rows or columns that are not transparent, and one more on each side, because a texture at a
/// fractional pixel position is interpolated with its neighbours.
template <class IsClear>
PixelRange visibleRange(std::size_t count, const IsClear& isClear) {
  PixelRange range{0, count};
  while (range.from < range.to && isClear(range.from)) ++range.from;
  while (range.from < range.to && isClear(range.to - 1)) --range.to;
  if (range.from == range.to) return range;
  return {range.from == 0 ? 0 : range.from - 1, std::min(range.to + 1, count)};
}

BitmapRef cropped(const Bitmap& bitmap, const PixelRange& columns, const PixelRange& rows) {
  std::vector<std::uint32_t> pixels;
  for (std::size_t y = rows.from; y < rows.to; ++y) {
    const auto row =
        bitmap.pixels().subspan(y * bitmap.width() + columns.from, columns.to - columns.from);
    pixels.insert(pixels.end(), row.begin(), row.end());
  }
  return Bitmap::make(columns.to - columns.from, rows.to - rows.from, std::move(pixels));
}

RenderNodePtr makeCairoNode(GdkTexture* texture, double width, double height) {
  const graphene_rect_t bounds{{0, 0}, {static_cast<float>(width), static_cast<float>(height)}};
  RenderNodePtr node(gsk_cairo_node_new(&bounds));
  const int columns = gdk_texture_get_width(texture);
  const int rows = gdk_texture_get_height(texture);
  cairo_surface_t* const pixels = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, columns, rows);
  gdk_texture_download(texture, cairo_image_surface_get_data(pixels),
                       static_cast<std::size_t>(cairo_image_surface_get_stride(pixels)));
  cairo_surface_mark_dirty(pixels);
  cairo_t* const recording = gsk_cairo_node_get_draw_context(node.get());
  cairo_scale(recording, width / columns, height / rows);
  cairo_set_source_surface(recording, pixels, 0, 0);
  cairo_paint(recording);
  cairo_destroy(recording);
  cairo_surface_destroy(pixels);
  return node;
}

CachedTexture makeCachedTexture(const BitmapRef& bitmap, const BitmapDrawing& drawing,
                                double deviceScale) {
  const BitmapRef whole = rendered(bitmap, drawing, deviceScale);
  if (!whole) return {};
  const auto isClear = [&](std::size_t x, std::size_t y) {
    return whole->pixels()[y * whole->width() + x] == 0;
  };
  const auto rows = visibleRange(whole->height(), [&](std::size_t y) {
    for (std::size_t x = 0; x < whole->width(); ++x)
      if (!isClear(x, y)) return false;
    return true;
  });
  const auto columns = visibleRange(whole->width(), [&](std::size_t x) {
    for (std::size_t y = 0; y < whole->height(); ++y)
      if (!isClear(x, y)) return false;
    return true;
  });
  const BitmapRef visible = cropped(*whole, columns, rows);
  if (!visible) return {};
  const double across = drawing.destination.width / static_cast<double>(whole->width());
  const double down = drawing.destination.height / static_cast<double>(whole->height());
  const Rect part{static_cast<double>(columns.from) * across, static_cast<double>(rows.from) * down,
                  static_cast<double>(visible->width()) * across,
                  static_cast<double>(visible->height()) * down};
  auto texture = makeTexture(visible);
  auto cairoNode = makeCairoNode(texture.get(), part.width, part.height);
  return {std::move(texture), std::move(cairoNode), part};
}

}  // namespace

GObjectPtr<GdkTexture> makeTexture(const platform::BitmapRef& bitmap) {
  const auto pixels = std::as_bytes(bitmap->pixels());
  // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the bytes own it
  auto* const reference = new platform::BitmapRef(bitmap);
  GBytes* const bytes = g_bytes_new_with_free_func(
      pixels.data(), pixels.size(),
      +[](gpointer owned) noexcept {
        std::default_delete<platform::BitmapRef>()(static_cast<platform::BitmapRef*>(owned));
      },
      reference);
  GObjectPtr<GdkTexture> texture(
      gdk_memory_texture_new(static_cast<int>(bitmap->width()), static_cast<int>(bitmap->height()),
                             GDK_MEMORY_DEFAULT, bytes, bitmap->bytesPerRow()));
  g_bytes_unref(bytes);
  return texture;
}

const CachedTexture& TextureCache::of(const BitmapRef& bitmap, const BitmapDrawing& drawing,
                                      double deviceScale) {
  const Rect& from = drawing.source;
  const Key key{bitmap->identity(),
                {from.x, from.y, from.width, from.height, drawing.destination.width,
                 drawing.destination.height, deviceScale},
                drawing.upsideDown};
  if (const auto found = entries_.find(key); found != entries_.end()) return found->second;
  if (entries_.size() >= kMaxEntries) entries_.clear();
  return entries_.emplace(key, makeCachedTexture(bitmap, drawing, deviceScale)).first->second;
}

}  // namespace wevora::nautilus
