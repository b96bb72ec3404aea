#include "Tests/PictureFiles/PictureFiles.h"

#include <algorithm>
#include <cairo.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <tiffio.h>

namespace wevora::testing_host {
namespace {

using platform::Bitmap;

void appendNumber(std::string& bytes, std::size_t number) {
  for (const unsigned shift : {24U, 16U, 8U, 0U})
    bytes.push_back(static_cast<char>((number >> shift) & 0xFFU));
}

cairo_status_t append(void* bytes, const unsigned char* data, unsigned int count) {
  static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), count);
  return CAIRO_STATUS_SUCCESS;
}

/// Appends 256 equal bytes as two runs of 128; a length byte n > 127 repeats the next byte n - 125
/// times.
void appendRuns(std::string& bytes, std::uint32_t value) {
  for (int run = 0; run < 2; ++run) {
    bytes.push_back(static_cast<char>(128 + 125));
    bytes.push_back(static_cast<char>(value));
  }
}

}  // namespace

platform::BitmapRef twoHalves(std::size_t width, std::size_t height, std::uint32_t upper,
                              std::uint32_t lower) {
  std::vector<std::uint32_t> pixels(width * height, lower);
  std::fill_n(pixels.begin(), width * (height / 2), upper);
  return Bitmap::make(width, height, std::move(pixels));
}

IcnsElement pngElement(std::string_view type, const Bitmap& bitmap) {
  const auto width = static_cast<int>(bitmap.width());
  const auto height = static_cast<int>(bitmap.height());
  cairo_surface_t* surface = ::cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  unsigned char* data = ::cairo_image_surface_get_data(surface);
  const auto stride = static_cast<std::size_t>(::cairo_image_surface_get_stride(surface));
  for (std::size_t row = 0; row < bitmap.height(); ++row)
    std::copy_n(reinterpret_cast<const unsigned char*>(&bitmap.pixels()[row * bitmap.width()]),
                bitmap.bytesPerRow(), data + row * stride);
  ::cairo_surface_mark_dirty(surface);
  std::string bytes;
  ::cairo_surface_write_to_png_stream(surface, &append, &bytes);
  ::cairo_surface_destroy(surface);
  return {type, std::move(bytes)};
}

std::vector<IcnsElement> smallRunLengthElements(std::uint32_t color) {
  std::string channels;
  for (const unsigned shift : {16U, 8U, 0U}) appendRuns(channels, (color >> shift) & 0xFFU);
  return {{"is32", channels}, {"s8mk", std::string(256, static_cast<char>(color >> 24U))}};
}

std::string icnsFile(const std::vector<IcnsElement>& elements) {
  std::string body;
  for (const auto& element : elements) {
    body.append(element.type);
    appendNumber(body, element.data.size() + 8);
    body.append(element.data);
  }
  std::string file = "icns";
  appendNumber(file, body.size() + 8);
  return file + body;
}

void writeTiff(const std::string& path, const std::vector<TiffPage>& pages) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  TIFF* tiff = ::TIFFOpen(path.c_str(), "w");
  if (tiff == nullptr) throw std::runtime_error("cannot create '" + path + "'");
  for (const auto& page : pages) {
    const auto width = static_cast<std::uint32_t>(page.bitmap->width());
    const auto height = static_cast<std::uint32_t>(page.bitmap->height());
    const std::uint16_t extra = EXTRASAMPLE_ASSOCALPHA;
    ::TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    ::TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    ::TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    ::TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4);
    ::TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    ::TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    ::TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    ::TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    ::TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    ::TIFFSetField(tiff, TIFFTAG_XRESOLUTION, static_cast<double>(page.pixelsPerInch));
    ::TIFFSetField(tiff, TIFFTAG_YRESOLUTION, static_cast<double>(page.pixelsPerInch));
    std::vector<unsigned char> line(std::size_t{width} * 4);
    for (std::uint32_t row = 0; row < height; ++row) {
      for (std::uint32_t x = 0; x < width; ++x) {
        const std::uint32_t pixel = page.bitmap->pixels()[std::size_t{row} * width + x];
        for (const unsigned channel : {0U, 1U, 2U, 3U})
          line[x * 4 + channel] = static_cast<unsigned char>(
              (channel == 3 ? pixel >> 24U : pixel >> (16U - 8U * channel)) & 0xFFU);
      }
      ::TIFFWriteScanline(tiff, line.data(), row, 0);
    }
    ::TIFFWriteDirectory(tiff);
  }
  ::TIFFClose(tiff);
}

void writeFile(const std::string& path, std::string_view bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace wevora::testing_host
