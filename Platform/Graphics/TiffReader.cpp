#include "Platform/Graphics/TiffReader.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <tiffio.h>
#include <utility>

namespace wevora::platform {
namespace {

constexpr std::size_t kMaxDirectories = 32;
constexpr tmsize_t kMaxAllocation = tmsize_t{128} << 20U;  // bytes per allocation

/// The I/O callbacks through which libtiff reads the file from memory.
struct MemoryFile {
  std::span<const std::byte> bytes;
  std::size_t position = 0;

  static MemoryFile& of(thandle_t handle) { return *static_cast<MemoryFile*>(handle); }
  static tmsize_t read(thandle_t handle, void* out, tmsize_t wanted) noexcept {
    auto& file = of(handle);
    if (wanted <= 0 || file.position >= file.bytes.size()) return 0;
    const std::size_t count =
        std::min(static_cast<std::size_t>(wanted), file.bytes.size() - file.position);
    std::memcpy(out, file.bytes.data() + file.position, count);
    file.position += count;
    return static_cast<tmsize_t>(count);
  }
  static tmsize_t write(thandle_t, void*, tmsize_t) noexcept { return 0; }
  static toff_t seek(thandle_t handle, toff_t offset, int from) noexcept {
    auto& file = of(handle);
    const toff_t base = from == SEEK_CUR ? file.position : from == SEEK_END ? file.bytes.size() : 0;
    file.position = static_cast<std::size_t>(base + offset);
    return file.position;
  }
  static int close(thandle_t) noexcept { return 0; }
  static toff_t size(thandle_t handle) noexcept { return of(handle).bytes.size(); }
  static int map(thandle_t, void**, toff_t*) noexcept { return 0; }
  static void unmap(thandle_t, void*, toff_t) noexcept {}
};

/// Discards libtiff's warnings and errors; 1 means handled, so libtiff prints nothing.
int ignoreMessage(TIFF*, void*, const char*, const char*, va_list) noexcept {
  return 1;
}

struct Closer {
  void operator()(TIFF* tiff) const noexcept { ::TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, Closer>;

struct OptionsFreer {
  void operator()(TIFFOpenOptions* options) const noexcept { ::TIFFOpenOptionsFree(options); }
};

Tiff open(MemoryFile& file) {
  const std::unique_ptr<TIFFOpenOptions, OptionsFreer> options(::TIFFOpenOptionsAlloc());
  if (!options) return nullptr;
  ::TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxAllocation);
  ::TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &ignoreMessage, nullptr);
  ::TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &ignoreMessage, nullptr);
  return Tiff(::TIFFClientOpenExt("image", "rm", &file, &MemoryFile::read, &MemoryFile::write,
                                  &MemoryFile::seek, &MemoryFile::close, &MemoryFile::size,
                                  &MemoryFile::map, &MemoryFile::unmap, options.get()));
}

/// Points per pixel, according to the directory's resolution.
double pointsPerPixel(TIFF* tiff) {
  std::uint16_t unit = RESUNIT_INCH;
  float resolution = 0;
  ::TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
  if (unit == RESUNIT_NONE || ::TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &resolution) == 0) return 1;
  const double perInch =
      unit == RESUNIT_CENTIMETER ? double{resolution} * 2.54 : double{resolution};
  const double points = 72.0 / perInch;
  return points >= 0.05 && points <= 20 ? points : 1;
}

/// The bitmap is null if the directory cannot be read completely.
ImageRep representationOf(TIFF* tiff) {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  ::TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
  ::TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
  if (width == 0 || height == 0 || width > Bitmap::kLongestSide || height > Bitmap::kLongestSide)
    return {};
  std::vector<std::uint32_t> pixels(std::size_t{width} * height);
  if (::TIFFReadRGBAImageOriented(tiff, width, height, pixels.data(), ORIENTATION_TOPLEFT, 1) == 0)
    return {};
  // libtiff's pixels are premultiplied, with red in the lowest byte.
  for (auto& pixel : pixels)
    pixel = (TIFFGetA(pixel) << 24U) | (TIFFGetR(pixel) << 16U) | (TIFFGetG(pixel) << 8U) |
            TIFFGetB(pixel);
  const double points = pointsPerPixel(tiff);
  return {Bitmap::make(width, height, std::move(pixels)), {width * points, height * points}};
}

}  // namespace

std::vector<ImageRep> tiffRepresentations(std::span<const std::byte> bytes) {
  MemoryFile file{bytes};
  const Tiff tiff = open(file);
  std::vector<ImageRep> representations;
  if (!tiff) return representations;
  do {
    auto representation = representationOf(tiff.get());
    if (!representation.bitmap || representations.size() == kMaxDirectories) return {};
    representations.push_back(std::move(representation));
  } while (::TIFFReadDirectory(tiff.get()) == 1);
  // TIFFReadDirectory also fails on a malformed directory, which is an error, not the end.
  if (::TIFFLastDirectory(tiff.get()) == 0) return {};
  return representations;
}

}  // namespace wevora::platform
