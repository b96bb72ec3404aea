#include "Platform/FileCopy/ItemCompare.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <vector>

#include "Platform/Files/Listing.h"
#include "Platform/Strings/Strings.h"
#include "Platform/Support/Descriptor.h"

namespace wevora::platform {
namespace {

constexpr std::size_t kBufferSize = std::size_t{128} << 10;

std::optional<std::vector<std::string>> sortedNames(const std::string& folder) {
  std::vector<std::string> names;
  if (!eachItemOfFolder(folder, [&](std::string_view name, ItemKind) { names.emplace_back(name); }))
    return std::nullopt;
  std::ranges::sort(names);
  return names;
}

std::optional<std::string> targetOf(const std::string& link) {
  std::error_code failed;
  auto target = std::filesystem::read_symlink(link, failed);
  return failed ? std::nullopt : std::optional(target.string());
}

/// Fills the buffer from the file's place; fewer bytes only at the file's end. None for a failure.
std::optional<std::size_t> readFully(FileCalls& calls, int file, std::vector<std::byte>& buffer,
                                     off_t offset) {
  std::size_t length = 0;
  while (length < buffer.size()) {
    const ssize_t read = calls.read(file, buffer.data() + length, buffer.size() - length,
                                    offset + static_cast<off_t>(length));
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) return std::nullopt;
    if (read == 0) break;
    length += static_cast<std::size_t>(read);
  }
  return length;
}

bool isFile(const Descriptor& file) {
  struct stat facts {};
  return file && ::fstat(file.get(), &facts) == 0 && S_ISREG(facts.st_mode);
}

}  // namespace

bool ItemCompare::equal(const std::string& path, const std::string& other) {
  const ItemKind kind = kindOfItem(path);
  if (kindOfItem(other) != kind) return false;
  switch (kind) {
    case ItemKind::file:
      return filesEqual(path, other);
    case ItemKind::folder:
      return foldersEqual(path, other);
    case ItemKind::link: {
      const auto target = targetOf(path);
      return target && target == targetOf(other);
    }
    default:
      return false;
  }
}

bool ItemCompare::filesEqual(const std::string& path, const std::string& other) {
  const Descriptor first(calls_.openToRead(path));
  const Descriptor second(calls_.openToRead(other));
  if (!isFile(first) || !isFile(second)) return false;
  std::vector<std::byte> ofFirst(kBufferSize);
  std::vector<std::byte> ofSecond(kBufferSize);
  for (off_t offset = 0;; offset += static_cast<off_t>(kBufferSize)) {
    const auto length = readFully(calls_, first.get(), ofFirst, offset);
    if (!length || readFully(calls_, second.get(), ofSecond, offset) != length) return false;
    if (std::memcmp(ofFirst.data(), ofSecond.data(), *length) != 0) return false;
    if (progress_ && *length > 0) progress_(*length);
    if (*length < kBufferSize) return true;
  }
}

bool ItemCompare::foldersEqual(const std::string& path, const std::string& other) {
  const auto names = sortedNames(path);
  if (!names || sortedNames(other) != names) return false;
  return std::ranges::all_of(*names, [&](const std::string& name) {
    return equal(pathByAppendingComponent(path, name), pathByAppendingComponent(other, name));
  });
}

}  // namespace wevora::platform
