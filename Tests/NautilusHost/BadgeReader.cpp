#include "Tests/NautilusHost/BadgeReader.h"

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

constexpr int kTolerance = 48;  // of 255, for scaling and smooth edges

bool isSolid(std::uint32_t pixel) {
  return (pixel >> 24U) >= 250;
}

bool areAlike(std::uint32_t a, std::uint32_t b) {
  for (const unsigned shift : {0U, 8U, 16U})
    if (std::abs(static_cast<int>((a >> shift) & 255U) - static_cast<int>((b >> shift) & 255U)) >
        kTolerance)
      return false;
  return true;
}

/// Where the badge lies on an icon of the host: over all of it in the icon view; in the list, the
/// square of 32 or 16 points in its lower left corner.
platform::Rect squareOn(const Place& icon) {
  const auto& frame = icon.frame;
  const double inList = frame.width >= 32 || frame.height >= 32 ? 32 : 16;
  const double side = icon.kind == "NautilusGridCell" ? frame.height : inList;
  return {frame.x, frame.y + frame.height - side, side, side};
}

/// How much of the badge's solid pixels is there.
double shareOf(const Bitmap& badge, const Bitmap& picture, const platform::Rect& square) {
  const auto left = static_cast<std::size_t>(std::lround(square.x));
  const auto top = static_cast<std::size_t>(std::lround(square.y));
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
  const auto dimmed = dimmedOn(background, *drive_.ofSide(kSide));
  return shareOf(*dimmed, picture, {frame.x, frame.y + above, kSide, kSide}) > 0.9;
}

platform::BitmapRef BadgeReader::Badge::ofSide(std::size_t side) const {
  auto& bitmap = drawn[side];
  if (bitmap) return bitmap;
  const auto context =
      platform::BitmapContext::create({.width = side, .height = side, .flipped = false});
  const platform::CurrentTarget current(*context);
  const auto points = static_cast<double>(side);
  image->drawInRect({0, 0, points, points}, {}, platform::CompositingOperation::SourceOver, 1.0);
  return bitmap = context->createImage();
}

std::string BadgeReader::wordAt(const Bitmap& picture, const Place& icon) const {
  const auto square = squareOn(icon);
  std::string best;
  double bestShare = 0;
  for (const auto& [word, badge] : badges_) {
    const double share = shareOf(*badge.ofSide(static_cast<std::size_t>(std::lround(square.width))),
                                 picture, square);
    if (share <= bestShare) continue;
    best = word;
    bestShare = share;
  }
  if (bestShare > 0.8) return best;
  return bestShare > 0.5 ? "unclear" : "";
}

}  // namespace wevora::testing_host
