#include "Tests/HostSession/BadgeReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "Platform/Graphics/BitmapContext.h"
#include "Platform/Graphics/GraphicsContext.h"
#include "Platform/Graphics/ImageFiles.h"

namespace wevora::testing_host {
namespace {

using platform::Bitmap;

constexpr int kTolerance = 48;                            // of 255, for scaling and smooth edges
constexpr std::array<unsigned, 3> kColours = {0, 8, 16};  // where they begin in a pixel

bool isSolid(std::uint32_t pixel) {
  return (pixel >> 24U) >= 250;
}

int differenceOf(std::uint32_t a, std::uint32_t b, unsigned shift) {
  return std::abs(static_cast<int>((a >> shift) & 255U) - static_cast<int>((b >> shift) & 255U));
}

bool areAlike(std::uint32_t a, std::uint32_t b) {
  return std::ranges::all_of(
      kColours, [&](unsigned shift) { return differenceOf(a, b, shift) <= kTolerance; });
}

/// Where the badge lies on an icon of the host: over all of it in an icon view; in a list, the
/// square of 32 or 16 points in its lower left corner.
platform::Rect squareOn(const Place& icon) {
  const auto& frame = icon.frame;
  const bool row = icon.kind == "NautilusNameCell" || icon.kind == "Fm::FolderViewTreeView";
  const double inList = frame.width >= 32 || frame.height >= 32 ? 32 : 16;
  const double side = row ? inList : frame.height;
  return {frame.x, frame.y + frame.height - side, side, side};
}

bool isOnDesktop(const Place& icon) {
  return icon.kind == "PCManFM::DesktopWindow";
}

struct Corner {
  std::size_t left;  ///< pixels of the picture
  std::size_t top;
};

Corner cornerOf(const platform::Rect& square, double scale) {
  return {static_cast<std::size_t>(std::lround(square.x * scale)),
          static_cast<std::size_t>(std::lround(square.y * scale))};
}

}  // namespace

BadgeReader::BadgeReader(const std::string& resources) {
  for (const auto& [word, file] :
       {std::pair("green", "/ok.icns"), std::pair("blue", "/backup.icns"),
        std::pair("red", "/w.icns")}) {
    badges_[word].image = platform::imageWithContentsOfFile(resources + file);
    if (!badges_[word].image) throw std::runtime_error("the bundle has no badges");
  }
}

double shareShown(const Bitmap& badge, const Bitmap& picture, const platform::Rect& square,
                  double scale) {
  const auto [left, top] = cornerOf(square, scale);
  int solid = 0;
  int alike = 0;
  for (std::size_t y = 0; y < badge.height(); ++y)
    for (std::size_t x = 0; x < badge.width(); ++x) {
      const auto pixel = badge.pixels()[y * badge.width() + x];
      if (!isSolid(pixel) || top + y >= picture.height() || left + x >= picture.width()) continue;
      ++solid;
      alike += areAlike(pixel, picture.pixels()[(top + y) * picture.width() + left + x]) ? 1 : 0;
    }
  return solid == 0 ? 0 : static_cast<double>(alike) / solid;
}

platform::BitmapRef BadgeReader::Badge::ofSize(const Size& size) const {
  auto& bitmap = drawn[size];
  if (bitmap) return bitmap;
  const auto drawnAt = [scale = size.scale](double points, const auto& draw) {
    const auto pixels = static_cast<std::size_t>(std::lround(points * scale));
    const auto context = platform::BitmapContext::create(
        {.width = pixels, .height = pixels, .scale = scale, .flipped = false});
    draw(*context, platform::Rect{0, 0, points, points});
    return context->createImage();
  };
  const auto whole = [this](platform::DrawingTarget& target, const platform::Rect& all) {
    const platform::CurrentTarget current(target);
    image->drawInRect(all, {}, platform::CompositingOperation::SourceOver, 1.0);
  };
  if (!size.onDesktop) return bitmap = drawnAt(size.points, whole);
  // The desktop draws the badge in its own size, not in that of the icon.
  const auto own = drawnAt(image->size().width, whole);
  return bitmap =
             drawnAt(size.points, [&](platform::DrawingTarget& target, const platform::Rect& all) {
               platform::contextDrawImage(target, all, own);
             });
}

std::string BadgeReader::wordAt(const Bitmap& picture, const Place& icon, double scale) const {
  const auto square = squareOn(icon);
  std::string best;
  double bestShare = 0;
  for (const auto& [word, badge] : badges_) {
    const auto shown =
        badge.ofSize({.points = square.width, .scale = scale, .onDesktop = isOnDesktop(icon)});
    const double share = shareShown(*shown, picture, square, scale);
    if (share <= bestShare) continue;
    best = word;
    bestShare = share;
  }
  if (bestShare > 0.8) return best;
  return bestShare > 0.5 ? "unclear" : "";
}

double BadgeReader::differenceAt(const Capture& capture, const Place& icon, const std::string& word,
                                 double drawnFor) const {
  const auto square = squareOn(icon);
  const auto badge = badges_.at(word).ofSize(
      {.points = square.width, .scale = drawnFor, .onDesktop = isOnDesktop(icon)});
  const auto [left, top] = cornerOf(square, capture.scale);
  const auto larger = static_cast<std::size_t>(std::lround(capture.scale / drawnFor));
  std::int64_t sum = 0;
  std::int64_t colours = 0;
  for (std::size_t y = 0; y < badge->height() * larger; ++y)
    for (std::size_t x = 0; x < badge->width() * larger; ++x) {
      const auto pixel = badge->pixels()[y / larger * badge->width() + x / larger];
      if (!isSolid(pixel)) continue;
      const auto shown = capture.picture->pixels()[(top + y) * capture.picture->width() + left + x];
      for (const unsigned shift : kColours) sum += differenceOf(pixel, shown, shift);
      colours += 3;
    }
  return static_cast<double>(sum) / static_cast<double>(colours);
}

}  // namespace wevora::testing_host
