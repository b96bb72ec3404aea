#include "Apps/CommandLine/PathArgument.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

#include "Apps/CommandLine/Arguments.h"
#include "Platform/Files/Links.h"
#include "Platform/Strings/Strings.h"

namespace wevora::command_line {
namespace {

std::string currentFolder() {
  const std::unique_ptr<char, decltype(&std::free)> here(::getcwd(nullptr, 0), &std::free);
  if (!here) throw std::runtime_error("the current folder is gone; give absolute paths");
  return here.get();
}

}  // namespace

std::string absolutePath(const std::string& path) {
  if (path.empty()) throw WrongUsage("a PATH is empty");
  const std::string whole = path.starts_with('/') ? path : currentFolder() + "/" + path;
  const auto components = platform::pathComponents(whole);
  if (std::ranges::find(components, "..") == components.end())
    return platform::standardizedPath(whole);
  if (components.back() == "..") return platform::resolvedPath(whole);
  return platform::pathByAppendingComponent(
      platform::resolvedPath(std::string(platform::pathWithoutLastComponent(whole))),
      components.back());
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
