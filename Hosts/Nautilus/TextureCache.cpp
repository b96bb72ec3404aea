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

/// What the drawing comes to, in pixels of the display.
BitmapRef drawn(const BitmapRef& bitmap, BitmapDrawing drawing, double deviceScale) {
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
  std::size_t to;  ///< the one behind the last
};

/// The rows, or the columns, that are not clear, and one around them, since a display that is
/// between two pixels mixes neighbours.
template <class IsClear>
PixelRange visibleRange(std::size_t count, const IsClear& isClear) {
  PixelRange range{0, count};
  while (range.from < range.to && isClear(range.from)) ++range.from;
  while (range.from < range.to && isClear(range.to - 1)) --range.to;
  if (range.from == range.to) return range;
  return {range.from == 0 ? 0 : range.from - 1, std::min(range.to + 1, count)};
}

BitmapRef cutOut(const Bitmap& bitmap, const PixelRange& columns, const PixelRange& rows) {
  std::vector<std::uint32_t> pixels;
  for (std::size_t y = rows.from; y < rows.to; ++y) {
    const auto row =
        bitmap.pixels().subspan(y * bitmap.width() + columns.from, columns.to - columns.from);
    pixels.insert(pixels.end(), row.begin(), row.end());
  }
  return Bitmap::make(columns.to - columns.from, rows.to - rows.from, std::move(pixels));
}

RenderNodePtr recordedOf(GdkTexture* texture, double width, double height) {
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

CachedTexture makePiece(const BitmapRef& bitmap, const BitmapDrawing& drawing, double deviceScale) {
  const BitmapRef whole = drawn(bitmap, drawing, deviceScale);
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
  const BitmapRef part = cutOut(*whole, columns, rows);
  if (!part) return {};
  const double across = drawing.destination.width / static_cast<double>(whole->width());
  const double down = drawing.destination.height / static_cast<double>(whole->height());
  const Rect place{
      static_cast<double>(columns.from) * across, static_cast<double>(rows.from) * down,
      static_cast<double>(part->width()) * across, static_cast<double>(part->height()) * down};
  auto texture = makeTexture(part);
  auto recorded = recordedOf(texture.get(), place.width, place.height);
  return {std::move(texture), std::move(recorded), place};
}

}  // namespace

GObjectPtr<GdkTexture> makeTexture(const platform::BitmapRef& bitmap) {
  const auto pixels = std::as_bytes(bitmap->pixels());
  auto* const share = new platform::BitmapRef(bitmap);  // NOLINT(cppcoreguidelines-owning-memory)
  GBytes* const bytes = g_bytes_new_with_free_func(
      pixels.data(), pixels.size(),
      +[](gpointer held) noexcept {
        std::default_delete<platform::BitmapRef>()(static_cast<platform::BitmapRef*>(held));
      },
      share);
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
  if (const auto found = cachedTextures_.find(key); found != cachedTextures_.end())
    return found->second;
  if (cachedTextures_.size() >= kKept) cachedTextures_.clear();
  return cachedTextures_.emplace(key, makePiece(bitmap, drawing, deviceScale)).first->second;
}

}  // namespace wevora::nautilus
