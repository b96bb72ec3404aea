#include "Apps/CommandLine/PathArgument.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "Apps/CommandLine/Arguments.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/Links.h"
#include "Platform/Files/WorkingFolder.h"

namespace wevora::command_line {

std::string pathArgument(const std::string& path) {
  requireNonEmptyPaths({&path, 1});
  const auto here = platform::absolutePath(path.starts_with('/') ? "/" : ".");
  if (!here)
    throw std::runtime_error("cannot resolve '" + path +
                             "': the current folder was deleted (use absolute paths)");
  const std::string whole = path.starts_with('/') ? path : *here + "/" + path;
  const auto components = platform::pathComponents(whole);
  if (std::ranges::find(components, "..") == components.end())
    return platform::standardizedPath(whole);
  if (components.back() == "..") return platform::resolvedPath(whole);
  return platform::pathByAppendingComponent(
      platform::resolvedPath(std::string(platform::pathWithoutLastComponent(whole))),
      components.back());
}

void requireNonEmptyPaths(std::span<const std::string> paths) {
  if (std::ranges::any_of(paths, &std::string::empty))
    throw UsageError("expected a non-empty PATH");
}

std::string oneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      line += c;
      continue;
    }
    std::array<char, 5> escape{};
    std::snprintf(escape.data(), escape.size(), "\\x%02x", byte);
    line += escape.data();
  }
  return line;
}

}  // namespace wevora::command_line
