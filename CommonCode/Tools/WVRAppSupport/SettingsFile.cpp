#include "CommonCode/Tools/WVRAppSupport/SettingsFile.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/Strings.h"
#include "Platform/PropertyLists/PropertyLists.h"

namespace wevora {
namespace {

constexpr mode_t kFolderMode = 493;  // 0755
constexpr mode_t kFileMode = 420;    // 0644
constexpr off_t kLargestCopy = platform::PropertyLists::kLargestFile;

/// Sets the attributes of the item itself, even of an unreadable one; a symbolic link is skipped.
void setAttributes(const std::string& path, mode_t mode, std::optional<uid_t> owner) {
  const platform::Descriptor item(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat facts {};
  if (!item || ::fstat(item.get(), &facts) != 0 || S_ISLNK(facts.st_mode)) return;
  // fchmod() fails for an O_PATH descriptor.
  const auto place = "/proc/self/fd/" + std::to_string(item.get());
  [[maybe_unused]] int ignored = ::chmod(place.c_str(), mode);
  if (owner) ignored = ::fchownat(item.get(), "", *owner, static_cast<gid_t>(-1), AT_EMPTY_PATH);
}

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const auto count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// The content of a file that a reader of property lists could have read.
std::string readAll(int descriptor, std::size_t size) {
  std::string text(size, '\0');
  std::size_t filled = 0;
  while (filled < size) {
    const auto count = ::read(descriptor, text.data() + filled, size - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    filled += static_cast<std::size_t>(count);
  }
  text.resize(filled);
  return text;
}

}  // namespace

void createSettingsFolder(const std::string& folder, std::optional<uid_t> owner) {
  std::string path;
  for (const auto& component : platform::pathComponents(folder)) {
    path = path.empty() ? component : platform::pathByAppendingComponent(path, component);
    if (::mkdir(path.c_str(), kFolderMode) != 0) continue;
    // mkdir() applied the umask.
    setAttributes(path, kFolderMode, owner);
  }
}

void setSettingsFileAttributes(const std::string& path, std::optional<uid_t> owner) {
  setAttributes(path, kFileMode, owner);
}

void copySettingsFile(const std::string& from, const std::string& to) {
  std::error_code ignored;
  std::filesystem::copy_file(from, to, ignored);
}

void writeOverSettingsFile(const std::string& path, const std::string& text) {
  // O_NONBLOCK: the path may be a pipe.
  const platform::Descriptor file(
      ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat facts {};
  if (file && ::fstat(file.get(), &facts) == 0 && S_ISREG(facts.st_mode))
    writeAll(file.get(), text);
}

void keepUnreadableSettingsFile(const std::string& path) {
  const platform::Descriptor file(
      ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat facts {};
  if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return;
  if (facts.st_size == 0 || facts.st_size > kLargestCopy) return;
  const auto text = readAll(file.get(), static_cast<std::size_t>(facts.st_size));
  // Another process may have repaired the file meanwhile.
  const auto list = platform::PropertyLists::parse(text);
  if (text.empty() || (list && list->as<platform::Dictionary>() != nullptr)) return;

  const auto kept = path + kUnreadableSuffix;
  // O_EXCL: the first copy stays, and a symbolic link is not followed.
  const platform::Descriptor copy(
      ::open(kept.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!copy) return;
  if (!writeAll(copy.get(), text)) {
    // A part of the content would take the place of the whole.
    ::unlink(kept.c_str());
    return;
  }
  // Only the owner may read it where it cannot get the file's owner and group.
  if (::fchown(copy.get(), facts.st_uid, facts.st_gid) == 0) [[maybe_unused]]
    const int ignored = ::fchmod(copy.get(), facts.st_mode & kFileMode);
}

}  // namespace wevora
