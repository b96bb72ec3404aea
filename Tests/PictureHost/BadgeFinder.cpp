#include "Tests/PictureHost/BadgeFinder.h"

#include <algorithm>
#include <ostream>

namespace wevora::testing_host {
namespace {

struct Box {
  std::size_t left, top, right, bottom;  // right and bottom are exclusive
};

bool isBadgePixel(std::uint32_t pixel, const Halves& badge) {
  return pixel == badge.upper || pixel == badge.lower;
}

std::optional<Box> boxOf(const platform::Bitmap& bitmap, const Halves& badge) {
  Box box{bitmap.width(), bitmap.height(), 0, 0};
  for (std::size_t y = 0; y < bitmap.height(); ++y)
    for (std::size_t x = 0; x < bitmap.width(); ++x)
      if (isBadgePixel(bitmap.pixels()[y * bitmap.width() + x], badge))
        box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x + 1),
               std::max(box.bottom, y + 1)};
  return box.right == 0 ? std::nullopt : std::optional(box);
}

bool isWhole(const platform::Bitmap& bitmap, const Box& box, const Halves& badge) {
  const std::uint32_t first = bitmap.pixels()[box.top * bitmap.width() + box.left];
  const std::uint32_t second = first == badge.upper ? badge.lower : badge.upper;
  const std::size_t middle = box.top + (box.bottom - box.top) / 2;
  for (std::size_t y = box.top; y < box.bottom; ++y)
    for (std::size_t x = box.left; x < box.right; ++x)
      if (bitmap.pixels()[y * bitmap.width() + x] != (y < middle ? first : second)) return false;
  return true;
}

}  // namespace

std::optional<BadgePlacement> findBadge(const platform::Bitmap& bitmap, const Halves& badge,
                                        double pixelsPerPoint) {
  const auto box = boxOf(bitmap, badge);
  if (!box || !isWhole(bitmap, *box, badge)) return std::nullopt;
  const auto points = [&](std::size_t pixels) {
    return static_cast<double>(pixels) / pixelsPerPoint;
  };
  return BadgePlacement{{points(box->left), points(box->top), points(box->right - box->left),
                         points(box->bottom - box->top)},
                        bitmap.pixels()[box->top * bitmap.width() + box->left] == badge.upper};
}

bool hasBadgePixels(const platform::Bitmap& bitmap, const Halves& badge) {
  return boxOf(bitmap, badge).has_value();
}

void PrintTo(const BadgePlacement& placement, std::ostream* out) {
  *out << (placement.upright ? "upright" : "upside down") << " at (" << placement.frame.x << ", "
       << placement.frame.y << ", " << placement.frame.width << ", " << placement.frame.height
       << ")";
}

}  // namespace wevora::testing_host
