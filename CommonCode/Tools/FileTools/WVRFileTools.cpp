#include "CommonCode/Tools/FileTools/WVRFileTools.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <unistd.h>

#include <glib.h>

#include "Platform/Files/Files.h"
#include "Platform/Strings/Strings.h"

namespace wevora {
namespace {

constexpr const char* kMD5Error = "ERROR GETTING FILE MD5";
constexpr std::size_t kMD5ChunkSize = 16384;

struct ChecksumFree {
  void operator()(GChecksum* checksum) const noexcept { g_checksum_free(checksum); }
};
struct GFree {
  void operator()(char* text) const noexcept { g_free(text); }
};

class Descriptor {
 public:
  explicit Descriptor(const std::string& path) : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

/// The text that the path's file URL has: an existing folder's ends with a separator.
std::string fileUrlPath(std::string_view path) {
  std::string text(path);
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  const bool separatorGiven = text.size() != path.size();
  if (text != "/" && platform::fileExistsAtPath(text).isDirectory) return text + "/";
  return separatorGiven ? std::string(path) : text;
}

std::string resolvedPath(std::string_view path) {
  std::error_code failed;
  const auto resolved = std::filesystem::weakly_canonical(std::filesystem::path(path), failed);
  return failed ? std::string(path) : resolved.string();
}

}  // namespace

bool WVRFileTools::pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath) {
  return path == isEqualToPath || fileUrlPath(path) == fileUrlPath(isEqualToPath);
}

bool WVRFileTools::pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath,
                                     bool resolveSymlinks) {
  if (!resolveSymlinks) return pathIsEqualToPath(path, isEqualToPath);
  return pathIsEqualToPath(resolvedPath(path), resolvedPath(isEqualToPath));
}

bool WVRFileTools::filePathBelongsToDirectoryAtPath(std::string_view filePath,
                                                    std::string_view belongsToDirectoryAtPath) {
  const std::string file = platform::standardizedPath(std::string(filePath) + "/");
  const std::string folder =
      platform::standardizedPath(std::string(belongsToDirectoryAtPath) + "/");
  if (file.size() <= folder.size()) return file == folder;
  return file.starts_with(folder) && (file[folder.size()] == '/' || folder.back() == '/');
}

std::uint64_t WVRFileTools::fileSize(const std::string& path) {
  const auto attributes = platform::attributesOfItemAtPath(path);
  return attributes ? attributes->size : 0;
}

std::optional<platform::Date> WVRFileTools::fileLastModificationDate(const std::string& path) {
  const auto attributes = platform::attributesOfItemAtPath(path);
  return attributes ? std::optional(attributes->modificationDate) : std::nullopt;
}

std::string WVRFileTools::getMD5FromFile(const std::string& path) {
  const Descriptor file(path);
  if (file.get() < 0) return kMD5Error;
  const std::unique_ptr<GChecksum, ChecksumFree> digest(g_checksum_new(G_CHECKSUM_MD5));
  std::array<unsigned char, kMD5ChunkSize> chunk;
  for (;;) {
    const ssize_t read = ::read(file.get(), chunk.data(), chunk.size());
    if (read < 0 && errno == EINTR) continue;
    if (read <= 0) break;
    g_checksum_update(digest.get(), chunk.data(), read);
  }
  return g_checksum_get_string(digest.get());
}

std::string WVRFileTools::getUUID() {
  return std::unique_ptr<char, GFree>(g_uuid_string_random()).get();
}

const char* WVRFileTools::homeDirectoryCString() {
  return std::getenv("HOME");
}

std::string WVRFileTools::shortFileNameForAbsolutePath(std::string_view path) {
  return std::string(platform::lastPathComponent(path));
}

std::optional<std::string> WVRFileTools::fileURLToString(std::string_view url) {
  return platform::pathFromFileUrl(url);
}

}  // namespace wevora
