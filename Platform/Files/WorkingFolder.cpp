#include "Platform/Files/WorkingFolder.h"

#include <cstdlib>
#include <memory>
#include <unistd.h>

#include "Platform/Base/Strings.h"

namespace wevora::platform {

std::optional<std::string> absolutePath(const std::string& path) {
  if (path.starts_with("/")) return standardizedPath(path);
  const std::unique_ptr<char, decltype(&std::free)> here(::getcwd(nullptr, 0), &std::free);
  if (!here) return std::nullopt;
  return standardizedPath(std::string(here.get()) + "/" + path);
}

}  // namespace wevora::platform
