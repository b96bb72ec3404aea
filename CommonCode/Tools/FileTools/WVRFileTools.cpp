#include "CommonCode/Tools/FileTools/WVRFileTools.h"

#include <cstdlib>

#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Files/Links.h"
#include "Platform/Files/MD5.h"

namespace wevora {
namespace {

/// The path as it appears in its file URL, where an existing folder ends with a separator.
std::string fileUrlPath(std::string_view path) {
  std::string text(path);
  if (text.size() > 1 && text.back() == '/') text.pop_back();
  if (text != "/" && platform::isDirectory(platform::statOfTarget(text))) return text + "/";
  return std::string(path);
}

}  // namespace

bool WVRFileTools::pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath) {
  return path == isEqualToPath || fileUrlPath(path) == fileUrlPath(isEqualToPath);
}

bool WVRFileTools::pathIsEqualToPath(std::string_view path, std::string_view isEqualToPath,
                                     bool resolveSymlinks) {
  if (!resolveSymlinks) return pathIsEqualToPath(path, isEqualToPath);
  return pathIsEqualToPath(platform::resolvedPath(std::string(path)),
                           platform::resolvedPath(std::string(isEqualToPath)));
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
  const auto status = platform::statOf(path);
  return status ? static_cast<std::uint64_t>(status->st_size) : 0;
}

std::optional<platform::Date> WVRFileTools::fileLastModificationDate(const std::string& path) {
  const auto status = platform::statOf(path);
  return status ? std::optional(platform::modificationDate(*status)) : std::nullopt;
}

std::string WVRFileTools::getMD5FromFile(const std::string& path) {
  return getMD5FromFile(path, {});
}

std::string WVRFileTools::getMD5FromFile(const std::string& path,
                                         const platform::ByteProgress& progress) {
  return platform::md5OfFile(path, progress).value_or(kMD5Error);
}

std::string WVRFileTools::getUUID() {
  return platform::randomUUID();
}

const char* WVRFileTools::homeDirectoryCString() {
  return std::getenv("HOME");
}

std::string WVRFileTools::shortFileNameForAbsolutePath(std::string_view path) {
  return std::string(platform::lastPathComponent(path));
}

std::optional<std::string> WVRFileTools::fileURLToString(std::string_view url) {
  auto path = platform::pathFromFileUrl(url);
  if (path && path->size() > 1 && path->ends_with('/')) path->pop_back();
  return path;
}

}  // namespace wevora
