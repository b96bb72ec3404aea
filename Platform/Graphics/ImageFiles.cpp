#include "Platform/Graphics/ImageFiles.h"

#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/Graphics/IcnsReader.h"
#include "Platform/Graphics/TiffReader.h"
#include "Platform/Support/Guard.h"

namespace wevora::platform {
namespace {

constexpr std::size_t kLargestFile = 16U << 20U;  // bytes

/// All bytes of a regular file of a bearable size, or none.
std::vector<std::byte> contentsOf(const std::string& path) {
  // Not to hang on a pipe that nobody writes to.
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return {};
  const ScopeExit closed([file] { ::close(file); });
  struct stat facts {};
  if (::fstat(file, &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_size <= 0 ||
      static_cast<std::size_t>(facts.st_size) > kLargestFile)
    return {};
  std::vector<std::byte> bytes(static_cast<std::size_t>(facts.st_size));
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = ::read(file, bytes.data() + done, bytes.size() - done);
    if (got <= 0) return {};
    done += static_cast<std::size_t>(got);
  }
  return bytes;
}

bool beginsWith(const std::vector<std::byte>& bytes, const char* mark) {
  return bytes.size() >= 4 && std::memcmp(bytes.data(), mark, 4) == 0;
}

}  // namespace

std::vector<ImageRep> imageRepsWithContentsOfFile(const std::string& path) noexcept {
  return swallowingOr(std::vector<ImageRep>(), [&] {
    const auto bytes = contentsOf(path);
    if (beginsWith(bytes, "icns")) return icnsRepresentations(bytes);
    if (beginsWith(bytes, "II*\0") || beginsWith(bytes, "MM\0*")) return tiffRepresentations(bytes);
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
