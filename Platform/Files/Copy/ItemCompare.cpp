#include "Platform/Files/Copy/ItemCompare.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/Copy/DirectoryCursor.h"
#include "Platform/Files/Copy/TreeCopy.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Files/Listing.h"

namespace wevora::platform {
namespace {

constexpr std::size_t kBufferSize = std::size_t{128} << 10;

std::optional<std::vector<std::string>> sortedNames(int folder) {
  std::vector<std::string> names;
  if (!forEachEntry(folder, [&](std::string_view name, ItemKind) { names.emplace_back(name); }))
    return std::nullopt;
  std::ranges::sort(names);
  return names;
}

/// Fills the buffer from `offset`; fewer bytes only at the end of the file. nullopt on failure.
std::optional<std::size_t> readFully(FileSystemCalls& calls, int file,
                                     std::vector<std::byte>& buffer, off_t offset) {
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
  return file && isRegularFile(statOf(file.get()));
}

/// Compares items of two folders recursively.
/// Errors: an item that cannot be read is not equal.
class TreeCompare {
 public:
  TreeCompare(FileSystemCalls& calls, const ByteProgress& progress, Descriptor folder,
              Descriptor other)
      : calls_(calls), progress_(progress), one_(std::move(folder)), other_(std::move(other)) {}

  bool equal(const std::string& name, const std::string& otherName) {
    const auto status = statOf(one_.folder(), name);
    const auto otherStatus = statOf(other_.folder(), otherName);
    if (!status || !otherStatus) return false;
    const ItemKind kind = kindOfMode(status->st_mode);
    if (kindOfMode(otherStatus->st_mode) != kind) return false;
    if (kind == ItemKind::file) return filesEqual(name, otherName);
    if (kind == ItemKind::folder) return foldersEqual(name, otherName);
    if (kind != ItemKind::link) return false;
    const auto target = linkTarget(one_.folder(), name);
    return target && target == linkTarget(other_.folder(), otherName);
  }

 private:
  bool filesEqual(const std::string& name, const std::string& otherName) {
    const Descriptor one(calls_.openToRead(one_.folder(), name));
    const Descriptor other(calls_.openToRead(other_.folder(), otherName));
    if (!isFile(one) || !isFile(other)) return false;
    buffer_.resize(kBufferSize);
    otherBuffer_.resize(kBufferSize);
    for (off_t offset = 0;; offset += static_cast<off_t>(kBufferSize)) {
      const auto length = readFully(calls_, one.get(), buffer_, offset);
      if (!length || readFully(calls_, other.get(), otherBuffer_, offset) != length) return false;
      if (std::memcmp(buffer_.data(), otherBuffer_.data(), *length) != 0) return false;
      if (progress_ && *length > 0) progress_(*length);
      if (*length < kBufferSize) return true;
    }
  }

  bool foldersEqual(const std::string& name, const std::string& otherName) {
    if (one_.depth() >= TreeCopy::kMaxDepth) return false;
    if (one_.enter(name) || other_.enter(otherName)) return false;
    const auto names = sortedNames(one_.folder());
    if (!names || sortedNames(other_.folder()) != names) return false;
    for (const auto& item : *names)
      if (!equal(item, item)) return false;
    return !one_.leave() && !other_.leave();
  }

  FileSystemCalls& calls_;
  const ByteProgress& progress_;
  DirectoryCursor one_;
  DirectoryCursor other_;
  std::vector<std::byte> buffer_;
  std::vector<std::byte> otherBuffer_;
};

}  // namespace

bool itemsEqual(FileSystemCalls& calls, const ByteProgress& progress, const std::string& path,
                const std::string& other) {
  if (path.empty() || other.empty()) return false;
  Descriptor folder = openParentFolder(path);
  Descriptor otherFolder = openParentFolder(other);
  if (!folder || !otherFolder) return false;
  return TreeCompare(calls, progress, std::move(folder), std::move(otherFolder))
      .equal(std::string(lastPathComponent(path)), std::string(lastPathComponent(other)));
}

}  // namespace wevora::platform
