#include "CommonCode/Tools/WVRAppSupport/SettingsFile.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/Strings/Strings.h"

namespace wevora {
namespace {

constexpr mode_t kFolderMode = 493;  // 0755
constexpr mode_t kFileMode = 420;    // 0644

/// Threads: one. Owns: the descriptor. Errors: operations on a file that did not open do nothing.
class OpenFile {
 public:
  // What lies in the file's place must not keep the caller.
  OpenFile(const std::string& path, int flags)
      : descriptor_(::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)) {}
  ~OpenFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  void setAttributes(mode_t mode, std::optional<uid_t> owner) const {
    if (descriptor_ < 0) return;
    [[maybe_unused]] int ignored = ::fchmod(descriptor_, mode);
    if (owner) ignored = ::fchown(descriptor_, *owner, static_cast<gid_t>(-1));
  }

  bool isRegular() const {
    struct stat facts {};
    return descriptor_ >= 0 && ::fstat(descriptor_, &facts) == 0 && S_ISREG(facts.st_mode);
  }

  void write(std::string_view text) const {
    while (!text.empty()) {
      const auto count = ::write(descriptor_, text.data(), text.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return;
      text.remove_prefix(static_cast<std::size_t>(count));
    }
  }

 private:
  int descriptor_;
};

}  // namespace

void createSettingsFolder(const std::string& folder, std::optional<uid_t> owner) {
  std::string path;
  for (const auto& component : platform::pathComponents(folder)) {
    path = path.empty() ? component : platform::pathByAppendingComponent(path, component);
    if (::mkdir(path.c_str(), kFolderMode) != 0) continue;
    // The process's mask had its say.
    OpenFile(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW).setAttributes(kFolderMode, owner);
  }
}

void setSettingsFileAttributes(const std::string& path, std::optional<uid_t> owner) {
  OpenFile(path, O_RDONLY | O_NOFOLLOW).setAttributes(kFileMode, owner);
}

void copySettingsFile(const std::string& from, const std::string& to) {
  std::error_code ignored;
  std::filesystem::copy_file(from, to, ignored);
}

void writeOverSettingsFile(const std::string& path, const std::string& text) {
  const OpenFile file(path, O_WRONLY);
  if (file.isRegular()) file.write(text);
}

}  // namespace wevora
