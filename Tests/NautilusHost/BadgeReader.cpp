#include "Tests/NautilusHost/BadgeReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <utility>
#include <vector>

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

/// Where the badge lies on an icon of the host: over all of it in the icon view; in the list, the
/// square of 32 or 16 points in its lower left corner.
platform::Rect squareOn(const Place& icon) {
  const auto& frame = icon.frame;
  const double inList = frame.width >= 32 || frame.height >= 32 ? 32 : 16;
  const double side = icon.kind == "NautilusGridCell" ? frame.height : inList;
  return {frame.x, frame.y + frame.height - side, side, side};
}

struct Corner {
  std::size_t left;  ///< pixels of the picture
  std::size_t top;
};

Corner cornerOf(const platform::Rect& square, double scale) {
  return {static_cast<std::size_t>(std::lround(square.x * scale)),
          static_cast<std::size_t>(std::lround(square.y * scale))};
}

/// How much of the badge's solid pixels is there.
double shareOf(const Bitmap& badge, const Bitmap& picture, const Corner& corner) {
  const auto [left, top] = corner;
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

/// As a picture is seen that the host shows with 7/10 of its strength.
platform::BitmapRef dimmedOn(std::uint32_t background, const Bitmap& bitmap) {
  std::vector<std::uint32_t> pixels(bitmap.pixels().begin(), bitmap.pixels().end());
  for (auto& pixel : pixels) {
    std::uint32_t mixed = pixel & 0xFF000000U;
    for (const unsigned shift : {0U, 8U, 16U})
      mixed |= ((((pixel >> shift) & 255U) * 7 + ((background >> shift) & 255U) * 3) / 10) << shift;
    pixel = mixed;
  }
  return Bitmap::make(bitmap.width(), bitmap.height(), std::move(pixels));
}

platform::ImageRef pictureOf(const std::string& file) {
  auto image = platform::imageWithContentsOfFile(file);
  if (!image) throw std::runtime_error("the bundle has no " + file);
  return image;
}

}  // namespace

BadgeReader::BadgeReader(const std::string& resources) {
  for (const auto& [word, file] :
       {std::pair("green", "/ok.icns"), std::pair("blue", "/backup.icns"),
        std::pair("red", "/w.icns")}) {
    badges_[word].image = pictureOf(resources + file);
  }
  drive_.image = pictureOf(resources + "/sidebar.tiff");
}

// The host dims a row's image, and leaves some room beside and above it.
bool BadgeReader::isDriveAt(const Bitmap& picture, const Place& row) const {
  constexpr std::size_t kSide = 16;
  const auto& frame = row.frame;
  const double above = (frame.height - kSide) / 2;
  const auto background =
      picture.pixels()[static_cast<std::size_t>(std::lround(frame.y)) * picture.width() +
                       static_cast<std::size_t>(std::lround(frame.x))];
  const auto dimmed = dimmedOn(background, *drive_.ofSide(kSide, 1));
  return shareOf(*dimmed, picture, cornerOf({frame.x, frame.y + above, kSide, kSide}, 1)) > 0.9;
}

platform::BitmapRef BadgeReader::Badge::ofSide(double points, double scale) const {
  auto& bitmap = drawn[{points, scale}];
  if (bitmap) return bitmap;
  const auto side = static_cast<std::size_t>(std::lround(points * scale));
  const auto context = platform::BitmapContext::create(
      {.width = side, .height = side, .scale = scale, .flipped = false});
  const platform::CurrentTarget current(*context);
  image->drawInRect({0, 0, points, points}, {}, platform::CompositingOperation::SourceOver, 1.0);
  return bitmap = context->createImage();
}

std::string BadgeReader::wordAt(const Bitmap& picture, const Place& icon, double scale) const {
  const auto square = squareOn(icon);
  const auto corner = cornerOf(square, scale);
  std::string best;
  double bestShare = 0;
  for (const auto& [word, badge] : badges_) {
    const double share = shareOf(*badge.ofSide(square.width, scale), picture, corner);
    if (share <= bestShare) continue;
    best = word;
    bestShare = share;
  }
  if (bestShare > 0.8) return best;
  return bestShare > 0.5 ? "unclear" : "";
}

double BadgeReader::differenceAt(const Look& look, const Place& icon, const std::string& word,
                                 double drawnFor) const {
  const auto square = squareOn(icon);
  const auto badge = badges_.at(word).ofSide(square.width, drawnFor);
  const auto corner = cornerOf(square, look.scale);
  const auto larger = static_cast<std::size_t>(std::lround(look.scale / drawnFor));
  std::int64_t sum = 0;
  std::int64_t colours = 0;
  for (std::size_t y = 0; y < badge->height() * larger; ++y)
    for (std::size_t x = 0; x < badge->width() * larger; ++x) {
      const auto pixel = badge->pixels()[y / larger * badge->width() + x / larger];
      if (!isSolid(pixel)) continue;
      const auto shown =
          look.picture->pixels()[(corner.top + y) * look.picture->width() + corner.left + x];
      for (const unsigned shift : kColours) sum += differenceOf(pixel, shown, shift);
      colours += 3;
    }
  return static_cast<double>(sum) / static_cast<double>(colours);
}

}  // namespace wevora::testing_host
