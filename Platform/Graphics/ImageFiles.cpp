#include "Platform/Graphics/ImageFiles.h"

#include <cstddef>
#include <span>
#include <string_view>

#include "Platform/Base/Guard.h"
#include "Platform/Base/RegularFile.h"
#include "Platform/Graphics/IcnsReader.h"
#include "Platform/Graphics/TiffReader.h"

namespace wevora::platform {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kMaxFileSize = 16U << 20U;  // bytes

}  // namespace

std::vector<ImageRep> imageRepsWithContentsOfFile(const std::string& path) noexcept {
  return catchAllOr(std::vector<ImageRep>(), [&] {
    const auto file = contentsOfRegularFile(path, kMaxFileSize).value_or("");
    const auto bytes = std::as_bytes(std::span(file));
    if (file.starts_with("icns")) return icnsRepresentations(bytes);
    if (file.starts_with("II*\0"sv) || file.starts_with("MM\0*"sv))
      return tiffRepresentations(bytes);
    return std::vector<ImageRep>();
  });
}

ImageRef imageWithContentsOfFile(const std::string& path) {
  const auto representations = imageRepsWithContentsOfFile(path);
  if (representations.empty()) return nullptr;
  Size largest;
  for (const auto& rep : representations)
    if (rep.size.width > largest.width) largest = rep.size;
  auto image = std::make_shared<Image>(largest);
  image->addRepresentations(representations);
  return image;
}

}  // namespace wevora::platform
