#include "Platform/Graphics/Bitmap.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace wevora::platform {
namespace {

std::uint64_t nextIdentity() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

std::uint32_t clampToAlpha(std::uint32_t pixel) noexcept {
  const std::uint32_t alpha = pixel >> 24U;
  const auto channel = [&](unsigned shift) {
    return std::min((pixel >> shift) & 0xFFU, alpha) << shift;
  };
  return (alpha << 24U) | channel(16) | channel(8) | channel(0);
}

}  // namespace

std::shared_ptr<const Bitmap> Bitmap::make(std::size_t width, std::size_t height,
                                           std::vector<std::uint32_t> pixels) {
  if (width == 0 || height == 0 || width > kLongestSide || height > kLongestSide) return nullptr;
  if (pixels.size() != width * height) return nullptr;
  for (auto& pixel : pixels) pixel = clampToAlpha(pixel);
  return std::make_shared<const Bitmap>(Private(), width, height, std::move(pixels));
}

Bitmap::Bitmap(Private, std::size_t width, std::size_t height, std::vector<std::uint32_t> pixels)
    : width_(width), height_(height), pixels_(std::move(pixels)), identity_(nextIdentity()) {}

}  // namespace wevora::platform
