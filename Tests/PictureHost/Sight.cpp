#include "Tests/PictureHost/Sight.h"

#include <algorithm>
#include <ostream>

namespace wevora::testing_host {
namespace {

struct Box {
  std::size_t left, top, right, bottom;  // right and bottom are beside it
};

bool isOf(std::uint32_t pixel, const Halves& picture) {
  return pixel == picture.upper || pixel == picture.lower;
}

std::optional<Box> boxOf(const platform::Bitmap& bitmap, const Halves& picture) {
  Box box{bitmap.width(), bitmap.height(), 0, 0};
  for (std::size_t y = 0; y < bitmap.height(); ++y)
    for (std::size_t x = 0; x < bitmap.width(); ++x)
      if (isOf(bitmap.pixels()[y * bitmap.width() + x], picture))
        box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x + 1),
               std::max(box.bottom, y + 1)};
  return box.right == 0 ? std::nullopt : std::optional(box);
}

bool isWhole(const platform::Bitmap& bitmap, const Box& box, const Halves& picture) {
  const std::uint32_t first = bitmap.pixels()[box.top * bitmap.width() + box.left];
  const std::uint32_t second = first == picture.upper ? picture.lower : picture.upper;
  const std::size_t middle = box.top + (box.bottom - box.top) / 2;
  for (std::size_t y = box.top; y < box.bottom; ++y)
    for (std::size_t x = box.left; x < box.right; ++x)
      if (bitmap.pixels()[y * bitmap.width() + x] != (y < middle ? first : second)) return false;
  return true;
}

}  // namespace

std::optional<Sight> seen(const platform::Bitmap& bitmap, const Halves& picture,
                          double pixelsPerPoint) {
  const auto box = boxOf(bitmap, picture);
  if (!box || !isWhole(bitmap, *box, picture)) return std::nullopt;
  const auto points = [&](std::size_t pixels) {
    return static_cast<double>(pixels) / pixelsPerPoint;
  };
  return Sight{{points(box->left), points(box->top), points(box->right - box->left),
                points(box->bottom - box->top)},
               bitmap.pixels()[box->top * bitmap.width() + box->left] == picture.upper};
}

bool anythingSeen(const platform::Bitmap& bitmap, const Halves& picture) {
  return boxOf(bitmap, picture).has_value();
}

void PrintTo(const Sight& sight, std::ostream* out) {
  *out << (sight.upright ? "upright" : "upside down") << " at (" << sight.frame.x << ", "
       << sight.frame.y << ", " << sight.frame.width << ", " << sight.frame.height << ")";
}

}  // namespace wevora::testing_host
