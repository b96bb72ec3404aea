#include "Platform/Base/RegularFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

#include "Platform/Base/Descriptor.h"

namespace wevora::platform {

std::optional<std::string> contentsOfRegularFile(const std::string& path, std::size_t largest) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat facts {};
  if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
      facts.st_size > static_cast<off_t>(largest))
    return std::nullopt;
  std::string bytes(static_cast<std::size_t>(facts.st_size), '\0');
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t count = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
  }
  bytes.resize(filled);
  return bytes;
}

}  // namespace wevora::platform
