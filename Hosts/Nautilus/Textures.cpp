#include "Hosts/Nautilus/Textures.h"

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

Piece makePiece(const BitmapRef& bitmap, const BitmapDrawing& drawing, double deviceScale) {
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
  return {
      makeTexture(part),
      {static_cast<double>(columns.from) * across, static_cast<double>(rows.from) * down,
       static_cast<double>(part->width()) * across, static_cast<double>(part->height()) * down}};
}

/// The pixel's red, green, blue and alpha, the colours as they are before the alpha thins them.
std::array<std::uint8_t, 4> straight(std::uint32_t pixel) {
  const std::uint32_t alpha = pixel >> 24U;
  const auto colour = [&](unsigned shift) {
    const std::uint32_t thinned = (pixel >> shift) & 0xFFU;
    return alpha == 0 ? std::uint8_t{0}
                      : static_cast<std::uint8_t>((thinned * 0xFFU + alpha / 2) / alpha);
  };
  return {colour(16), colour(8), colour(0), static_cast<std::uint8_t>(alpha)};
}

}  // namespace

// In the one form that GTK's cairo renderer reads fast: releases up to 4.8 turn pixels that have
// the right form already into floating point and back, with each frame.
GObjectPtr<GdkTexture> makeTexture(const platform::BitmapRef& bitmap) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(bitmap->height() * bitmap->bytesPerRow());
  for (const std::uint32_t pixel : bitmap->pixels())
    for (const std::uint8_t byte : straight(pixel)) bytes.push_back(byte);
  GBytes* const held = g_bytes_new(bytes.data(), bytes.size());
  GObjectPtr<GdkTexture> texture(
      gdk_memory_texture_new(static_cast<int>(bitmap->width()), static_cast<int>(bitmap->height()),
                             GDK_MEMORY_R8G8B8A8, held, bitmap->bytesPerRow()));
  g_bytes_unref(held);
  return texture;
}

const Piece& Textures::of(const BitmapRef& bitmap, const BitmapDrawing& drawing,
                          double deviceScale) {
  const Rect& from = drawing.source;
  const Key key{bitmap->identity(),
                {from.x, from.y, from.width, from.height, drawing.destination.width,
                 drawing.destination.height, deviceScale},
                drawing.upsideDown};
  if (const auto found = pieces_.find(key); found != pieces_.end()) return found->second;
  if (pieces_.size() >= kKept) pieces_.clear();
  return pieces_.emplace(key, makePiece(bitmap, drawing, deviceScale)).first->second;
}

}  // namespace wevora::nautilus
