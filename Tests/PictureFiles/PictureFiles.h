#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Graphics/Bitmap.h"

namespace wevora::testing_host {

/// A bitmap whose halves have different colours, so that a test can detect its orientation. Colours
/// are premultiplied 0xAARRGGBB.
platform::BitmapRef twoHalves(std::size_t width, std::size_t height, std::uint32_t upper,
                              std::uint32_t lower);

/// An element of an icon family (.icns): a type ("icp4") and its data.
struct IcnsElement {
  std::string_view type;
  std::string data;
};
IcnsElement pngElement(std::string_view type, const platform::Bitmap& bitmap);
/// "is32" with its mask "s8mk": 16 x 16 pixels of one colour, run-length coded.
std::vector<IcnsElement> smallRunLengthElements(std::uint32_t color);
std::string icnsFile(const std::vector<IcnsElement>& elements);

struct TiffPage {
  platform::BitmapRef bitmap;
  float pixelsPerInch = 72;
};
void writeTiff(const std::string& path, const std::vector<TiffPage>& pages);

void writeFile(const std::string& path, std::string_view bytes);

}  // namespace wevora::testing_host
