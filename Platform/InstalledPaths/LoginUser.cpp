#include "Platform/InstalledPaths/LoginUser.h"

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace wevora::platform {
namespace {

constexpr std::size_t kFirstSize = 1024;
constexpr std::size_t kLargestSize = 1024UL * 1024;

/// Asks with a buffer that grows until the row fits, and takes one text of the row.
template <class Ask>
std::optional<std::string> textOfRow(Ask ask, char* passwd::*text) {
  passwd row{};
  passwd* found = nullptr;
  for (std::size_t size = kFirstSize; size <= kLargestSize; size *= 2) {
    std::vector<char> buffer(size);
    const int error = ask(&row, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (error != 0 || found == nullptr || row.*text == nullptr) return std::nullopt;
    return std::string(row.*text);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> loginName() {
  return textOfRow(
      [](passwd* row, char* buffer, std::size_t size, passwd** found) {
        return ::getpwuid_r(::getuid(), row, buffer, size, found);
      },
      &passwd::pw_name);
}

std::optional<std::string> homeFolderOfUser(const std::string& name) {
  auto home = textOfRow(
      [&name](passwd* row, char* buffer, std::size_t size, passwd** found) {
        return ::getpwnam_r(name.c_str(), row, buffer, size, found);
      },
      &passwd::pw_dir);
  if (home && !home->starts_with('/')) return std::nullopt;
  return home;
}

}  // namespace wevora::platform
