#include "Platform/InstalledPaths/LoginUser.h"

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace wevora::platform {
namespace {

constexpr std::size_t kFirstSize = 1024;
constexpr std::size_t kLargestSize = 1024UL * 1024;

/// Asks with a buffer that grows until the row fits, and takes what `take` makes of the row.
template <class Ask, class Take>
auto askFor(Ask ask, Take take) -> decltype(take(std::declval<const passwd&>())) {
  passwd row{};
  passwd* found = nullptr;
  for (std::size_t size = kFirstSize; size <= kLargestSize; size *= 2) {
    std::vector<char> buffer(size);
    const int error = ask(&row, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (error != 0 || found == nullptr) return std::nullopt;
    return take(row);
  }
  return std::nullopt;
}

auto byName(const std::string& name) {
  return [&name](passwd* row, char* buffer, std::size_t size, passwd** found) {
    return ::getpwnam_r(name.c_str(), row, buffer, size, found);
  };
}

auto ofThisProcess() {
  return [](passwd* row, char* buffer, std::size_t size, passwd** found) {
    return ::getpwuid_r(::getuid(), row, buffer, size, found);
  };
}

std::optional<std::string> textOf(const char* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

}  // namespace

std::optional<std::string> loginName() {
  return askFor(ofThisProcess(), [](const passwd& row) { return textOf(row.pw_name); });
}

std::optional<std::string> homeFolderOfUser(const std::string& name) {
  auto home = askFor(byName(name), [](const passwd& row) { return textOf(row.pw_dir); });
  if (home && !home->starts_with('/')) return std::nullopt;
  return home;
}

std::optional<uid_t> idOfUser(const std::string& name) {
  return askFor(byName(name), [](const passwd& row) { return std::optional(row.pw_uid); });
}

}  // namespace wevora::platform
