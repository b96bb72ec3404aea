#include "CommonCode/Tools/WVRAppSupport/SettingsFile.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/Strings.h"

namespace wevora {
namespace {

constexpr mode_t kFolderMode = 493;  // 0755
constexpr mode_t kFileMode = 420;    // 0644

/// Of the item itself, which may be one that cannot be read; a link stays as it is.
void setAttributes(const std::string& path, mode_t mode, std::optional<uid_t> owner) {
  const platform::Descriptor item(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat facts {};
  if (!item || ::fstat(item.get(), &facts) != 0 || S_ISLNK(facts.st_mode)) return;
  // A descriptor that is a place only takes no fchmod.
  const auto place = "/proc/self/fd/" + std::to_string(item.get());
  [[maybe_unused]] int ignored = ::chmod(place.c_str(), mode);
  if (owner) ignored = ::fchownat(item.get(), "", *owner, static_cast<gid_t>(-1), AT_EMPTY_PATH);
}

void writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const auto count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace

void createSettingsFolder(const std::string& folder, std::optional<uid_t> owner) {
  std::string path;
  for (const auto& component : platform::pathComponents(folder)) {
    path = path.empty() ? component : platform::pathByAppendingComponent(path, component);
    if (::mkdir(path.c_str(), kFolderMode) != 0) continue;
    // The process's mask had its say.
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
  // What lies in the file's place must not keep the caller.
  const platform::Descriptor file(
      ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  struct stat facts {};
  if (file && ::fstat(file.get(), &facts) == 0 && S_ISREG(facts.st_mode))
    writeAll(file.get(), text);
}

}  // namespace wevora
