#include "Platform/Files/Links.h"

#include <filesystem>
#include <optional>

#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"

namespace wevora::platform {
namespace {

std::optional<std::string> canonical(const std::string& path) {
  std::error_code failed;
  auto result = std::filesystem::canonical(path, failed);
  return failed ? std::nullopt : std::optional(result.string());
}

bool endsInFolderReference(const std::string& path) {
  const auto name = lastPathComponent(path);
  return path.ends_with('/') || name == "." || name == "..";
}

}  // namespace

std::string resolvedPath(const std::string& path) {
  std::error_code failed;
  const auto resolved = std::filesystem::weakly_canonical(path, failed);
  return failed ? path : resolved.string();
}

std::string afterOneLink(const std::string& path) {
  std::error_code failed;
  const std::string target = std::filesystem::read_symlink(path, failed).string();
  if (failed || target.empty()) return path;
  std::string next = target;
  if (!target.starts_with('/')) next = std::string(pathWithoutLastComponent(path)) + "/" + target;
  if (!statOf(next)) return path;
  if (endsInFolderReference(next)) return canonical(next).value_or(path);
  const auto folder = canonical(std::string(pathWithoutLastComponent(next)));
  return folder ? pathByAppendingComponent(*folder, lastPathComponent(next)) : path;
}

}  // namespace wevora::platform
