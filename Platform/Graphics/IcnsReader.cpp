#include "Platform/Graphics/IcnsReader.h"

#include <algorithm>
#include <array>
#include <cairo.h>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "Platform/Base/Guard.h"

extern "C" {  // the header has no linkage specification of its own
#include <icns.h>
}

namespace wevora::platform {
namespace {

using Bytes = std::span<const std::byte>;
using Pixels = std::vector<std::uint32_t>;

constexpr std::size_t kHeader = 8;  // bytes: a type and a length, which includes the header

/// An element type that contains an image. Its mask, if any, is a separate element.
struct Kind {
  std::string_view type;
  std::size_t pixels;  ///< each side
  double points;
  std::string_view mask;
};
constexpr std::array<Kind, 15> kKinds{{{"is32", 16, 16, "s8mk"},
                                       {"il32", 32, 32, "l8mk"},
                                       {"ih32", 48, 48, "h8mk"},
                                       {"it32", 128, 128, "t8mk"},
                                       {"icp4", 16, 16, ""},
                                       {"icp5", 32, 32, ""},
                                       {"icp6", 64, 64, ""},
                                       {"ic07", 128, 128, ""},
                                       {"ic08", 256, 256, ""},
                                       {"ic09", 512, 512, ""},
                                       {"ic10", 1024, 512, ""},
                                       {"ic11", 32, 16, ""},
                                       {"ic12", 64, 32, ""},
                                       {"ic13", 256, 128, ""},
                                       {"ic14", 512, 256, ""}}};

struct Element {
  std::string_view type;
  Bytes whole;  ///< the header included
  Bytes data() const { return whole.subspan(kHeader); }
};

std::uint32_t byteAt(Bytes bytes, std::size_t at) {
  return std::to_integer<std::uint32_t>(bytes[at]);
}

/// nullopt if the number extends beyond the end of the bytes.
std::optional<std::uint32_t> bigEndian(Bytes bytes, std::size_t at, std::size_t count) {
  if (at > bytes.size() || bytes.size() - at < count) return std::nullopt;
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < count; ++i) number = (number << 8U) | byteAt(bytes, at + i);
  return number;
}

bool beginsWith(Bytes bytes, std::string_view mark) {
  return bytes.size() >= mark.size() && std::memcmp(bytes.data(), mark.data(), mark.size()) == 0;
}

/// The elements; nullopt if their lengths are inconsistent.
std::optional<std::vector<Element>> elementsOf(Bytes file) {
  if (bigEndian(file, 4, 4) != file.size()) return std::nullopt;
  std::vector<Element> elements;
  for (std::size_t at = kHeader; at < file.size();) {
    const auto size = bigEndian(file, at + 4, 4);
    if (!size || *size < kHeader || *size > file.size() - at) return std::nullopt;
    const Bytes whole = file.subspan(at, *size);
    elements.push_back({{reinterpret_cast<const char*>(whole.data()), 4}, whole});
    at += *size;
  }
  return elements;
}

const Element* find(const std::vector<Element>& elements, std::string_view type) {
  const auto found = std::find_if(elements.begin(), elements.end(),
                                  [&](const Element& element) { return element.type == type; });
  return found == elements.end() ? nullptr : &*found;
}

// --- PNG -----------------------------------------------------------------------------------------

constexpr std::string_view kPngMark{"\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16};

struct PngReader {
  Bytes rest;
  /// Called from C code, so it must not throw.
  static cairo_status_t read(void* self, unsigned char* out, unsigned int count) noexcept {
    auto& reader = *static_cast<PngReader*>(self);
    if (reader.rest.size() < count) return CAIRO_STATUS_READ_ERROR;
    std::memcpy(out, reader.rest.data(), count);
    reader.rest = reader.rest.subspan(count);
    return CAIRO_STATUS_SUCCESS;
  }
};

std::optional<Pixels> pngPixels(Bytes data, std::size_t side) {
  if (bigEndian(data, 16, 4) != side || bigEndian(data, 20, 4) != side) return std::nullopt;
  PngReader reader{data};
  cairo_surface_t* surface =
      ::cairo_image_surface_create_from_png_stream(&PngReader::read, &reader);
  const ScopeExit destroyed([surface] { ::cairo_surface_destroy(surface); });
  if (::cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) return std::nullopt;
  // An image without alpha is decoded as RGB24, whose upper byte is undefined.
  const auto format = ::cairo_image_surface_get_format(surface);
  if (format != CAIRO_FORMAT_ARGB32 && format != CAIRO_FORMAT_RGB24) return std::nullopt;
  const std::uint32_t opaque = format == CAIRO_FORMAT_RGB24 ? 0xFF000000U : 0U;
  const auto stride = static_cast<std::size_t>(::cairo_image_surface_get_stride(surface));
  const unsigned char* from = ::cairo_image_surface_get_data(surface);
  Pixels pixels(side * side);
  for (std::size_t row = 0; row < side; ++row)
    std::memcpy(&pixels[row * side], from + row * stride, side * sizeof(std::uint32_t));
  for (auto& pixel : pixels) pixel |= opaque;
  return pixels;
}

// --- Formats decoded by libicns ------------------------------------------------------------------
// Validated here first, because libicns does not check its input.

/// Whether the data decodes to three run-length coded channels of `pixels` bytes each.
bool isRunLengthCoded(Bytes data, std::size_t pixels) {
  std::size_t at = bigEndian(data, 0, 4) == 0U ? 4 : 0;
  for (int channel = 0; channel < 3; ++channel) {
    for (std::size_t done = 0; done < pixels;) {
      if (at >= data.size()) return false;
      const std::uint32_t mark = byteAt(data, at);
      const bool repeats = mark >= 0x80;
      const std::size_t run = repeats ? mark - 125 : mark + 1;
      const std::size_t bytes = repeats ? 1 : run;
      if (run > pixels - done || bytes > data.size() - at - 1) return false;
      done += run;
      at += 1 + bytes;
    }
  }
  return true;
}

constexpr std::string_view kJpeg2000Mark{"\0\0\0\x0CjP  \r\n\x87\n", 12};

/// Whether the code stream has four channels of 8 bits without subsampling, in one tile of `side`
/// pixels.
bool isPlainJpeg2000(Bytes data, std::size_t side) {
  constexpr std::string_view start{"\xFF\x4F\xFF\x51", 4};
  const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
  const std::size_t at = text.find(start);
  if (at == std::string_view::npos || text.find(start, at + 1) != std::string_view::npos)
    return false;
  const auto number = [&](std::size_t offset) { return bigEndian(data, at + 4 + offset, 4); };
  for (const std::size_t extent : {4U, 8U, 20U, 24U})  // of the image, of a tile
    if (number(extent) != side) return false;
  for (const std::size_t offset : {12U, 16U, 28U, 32U})  // of the image, of its first tile
    if (number(offset) != 0U) return false;
  if (bigEndian(data, at + 40, 2) != 4U) return false;
  for (std::size_t channel = 0; channel < 4; ++channel)
    if (bigEndian(data, at + 42 + channel * 3, 3) != 0x070101U) return false;
  return true;
}

void appendElement(std::vector<std::byte>& family, const Element& element) {
  family.insert(family.end(), element.whole.begin(), element.whole.end());
}

/// An icon family that contains only the image and its mask.
std::vector<std::byte> familyOf(const Element& image, const Element* mask) {
  std::vector<std::byte> family(kHeader);
  appendElement(family, image);
  if (mask != nullptr) appendElement(family, *mask);
  std::memcpy(family.data(), "icns", 4);
  for (std::size_t i = 0; i < 4; ++i)
    family[4 + i] = static_cast<std::byte>((family.size() >> (8 * (3 - i))) & 0xFFU);
  return family;
}

std::uint32_t premultiplied(const icns_byte_t* rgba) {
  const std::uint32_t alpha = rgba[3];
  const auto channel = [&](std::uint32_t value) { return (value * alpha + 127) / 255; };
  return (alpha << 24U) | (channel(rgba[0]) << 16U) | (channel(rgba[1]) << 8U) | channel(rgba[2]);
}

std::optional<Pixels> familyPixels(const Kind& kind, const Element& image, const Element* mask) {
  static const bool quiet = (::icns_set_print_errors(0), true);
  static_cast<void>(quiet);
  auto bytes = familyOf(image, mask);
  icns_family_t* family = nullptr;
  const ScopeExit freed([&] { std::free(family); });  // NOLINT: libicns allocates with malloc
  if (::icns_import_family_data(static_cast<icns_size_t>(bytes.size()),
                                reinterpret_cast<icns_byte_t*>(bytes.data()), &family) != 0)
    return std::nullopt;
  icns_image_t decoded{};
  const ScopeExit decodedFreed([&] { ::icns_free_image(&decoded); });
  const auto type = *bigEndian(image.whole, 0, 4);
  if (::icns_get_image32_with_mask_from_family(family, type, &decoded) != 0) return std::nullopt;
  if (decoded.imageWidth != kind.pixels || decoded.imageHeight != kind.pixels ||
      decoded.imageChannels != 4 || decoded.imageDataSize < kind.pixels * kind.pixels * 4)
    return std::nullopt;
  Pixels pixels(kind.pixels * kind.pixels);
  for (std::size_t i = 0; i < pixels.size(); ++i)
    pixels[i] = premultiplied(decoded.imageData + i * 4);
  return pixels;
}

// --- Representations -----------------------------------------------------------------------------

/// Whether the image has a supported encoding.
bool isSupported(const Kind& kind, const Element& image) {
  if (!kind.mask.empty() || beginsWith(image.data(), kPngMark)) return true;
  return beginsWith(image.data(), kJpeg2000Mark) && kind.pixels >= 256 && kind.type < "ic11";
}

std::optional<Pixels> pixelsOf(const Kind& kind, const Element& image, const Element* mask) {
  const Bytes data = image.data();
  if (!kind.mask.empty()) {
    const std::size_t count = kind.pixels * kind.pixels;
    if (mask == nullptr || mask->data().size() != count) return std::nullopt;
    if (data.size() >= count * 4 || !isRunLengthCoded(data, count)) return std::nullopt;
    return familyPixels(kind, image, mask);
  }
  if (beginsWith(data, kPngMark)) return pngPixels(data, kind.pixels);
  return isPlainJpeg2000(data, kind.pixels) ? familyPixels(kind, image, nullptr) : std::nullopt;
}

}  // namespace

std::vector<ImageRep> icnsRepresentations(std::span<const std::byte> file) {
  const auto elements = elementsOf(file);
  if (!elements) return {};
  std::vector<ImageRep> representations;
  for (const auto& kind : kKinds) {
    const Element* image = find(*elements, kind.type);
    if (image == nullptr || !isSupported(kind, *image)) continue;
    auto pixels = pixelsOf(kind, *image, find(*elements, kind.mask));
    if (!pixels) return {};
    representations.push_back(
        {Bitmap::make(kind.pixels, kind.pixels, std::move(*pixels)), {kind.points, kind.points}});
  }
  return representations;
}

}  // namespace wevora::platform
