#include "Tests/HostSession/BadgeReader.h"

#include <cmath>
#include <cstdlib>
#include <stdexcept>

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

/// Where the badge lies on an icon of the host: over all of it in an icon view; in a list, the
/// square of 32 or 16 points in its lower left corner.
platform::Rect squareOn(const Place& icon) {
  const auto& frame = icon.frame;
  const bool row = icon.kind == "NautilusNameCell" || icon.kind == "Fm::FolderViewTreeView";
  const double side = !row ? frame.height : frame.height >= 32 ? 32 : 16;
  return {frame.x, frame.y + frame.height - side, side, side};
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

double shareThere(const Bitmap& badge, const Bitmap& picture, const platform::Rect& square) {
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

platform::BitmapRef BadgeReader::Badge::ofSide(std::size_t side, bool onDesktop) const {
  auto& bitmap = drawn[{side, onDesktop}];
  if (bitmap) return bitmap;
  const auto drawnAt = [](std::size_t pixels, const auto& draw) {
    const auto context =
        platform::BitmapContext::create({.width = pixels, .height = pixels, .flipped = false});
    const auto points = static_cast<double>(pixels);
    draw(*context, platform::Rect{0, 0, points, points});
    return context->createImage();
  };
  const auto whole = [this](platform::DrawingTarget& target, const platform::Rect& all) {
    const platform::CurrentTarget current(target);
    image->drawInRect(all, {}, platform::CompositingOperation::SourceOver, 1.0);
  };
  if (!onDesktop) return bitmap = drawnAt(side, whole);
  // The desktop is given the badge in the badge's own size, whatever the size of the icon.
  const auto own = drawnAt(static_cast<std::size_t>(image->size().width), whole);
  return bitmap = drawnAt(side, [&](platform::DrawingTarget& target, const platform::Rect& all) {
           platform::contextDrawImage(target, all, own);
         });
}

std::string BadgeReader::wordAt(const Bitmap& picture, const Place& icon) const {
  const auto square = squareOn(icon);
  std::string best;
  double bestShare = 0;
  for (const auto& [word, badge] : badges_) {
    const auto side = static_cast<std::size_t>(std::lround(square.width));
    const bool onDesktop = icon.kind == "PCManFM::DesktopWindow";
    const double share = shareThere(*badge.ofSide(side, onDesktop), picture, square);
    if (share <= bestShare) continue;
    best = word;
    bestShare = share;
  }
  if (bestShare > 0.8) return best;
  return bestShare > 0.5 ? "unclear" : "";
}

}  // namespace wevora::testing_host
