#include "Platform/Installation/InstalledPaths.h"

#include "Platform/Base/Guard.h"
#include "Platform/Base/Mutex.h"
#include "Platform/Base/Strings.h"
#include "Platform/Installation/LoginUser.h"

namespace wevora::platform {
namespace {

constexpr std::string_view kPlugin = "/Library/Wevora/FinderPlugin/";
constexpr std::string_view kUsers = "/Users/";
constexpr std::string_view kSettings = "/Library/Application Support/Wevora/";

constexpr std::string_view kPluginBelowPrefix = "/lib/wevora/FinderPlugin/";
constexpr std::string_view kTemplateBelowRoot = "/etc/xdg/Wevora/";
constexpr std::string_view kSettingsBelowHome = ".config/Wevora";

std::string joined(std::string_view first, std::string_view second) {
  return std::string(first).append(second);
}

struct Shared {
  Mutex lock;
  std::optional<InstalledPaths> paths GUARDED_BY(lock);
};

Shared& process() {
  static NeverDestroyed<Shared> shared;
  return *shared;
}

InstalledPaths pathsOfTheBuild() {
  // NOLINTNEXTLINE(readability-redundant-string-init): empty in most builds
  const std::string_view root = WEVORA_INSTALLED_ROOT;
  return root.empty() ? InstalledPaths() : InstalledPaths::belowRoot(std::string(root));
}

}  // namespace

InstalledPaths::InstalledPaths()
    : InstalledPaths(joined(WEVORA_INSTALL_PREFIX, kPluginBelowPrefix),
                     std::string(kTemplateBelowRoot), std::nullopt) {}

InstalledPaths InstalledPaths::belowRoot(std::string root) {
  return {joined(root, kPluginBelowPrefix), joined(root, kTemplateBelowRoot),
          joined(root, "/home")};
}

std::string InstalledPaths::translate(std::string_view systemPath) const {
  if (systemPath.starts_with(kPlugin))
    return plugin_ + std::string(systemPath.substr(kPlugin.size()));
  if (systemPath.starts_with(kSettings))
    return template_ + std::string(systemPath.substr(kSettings.size()));
  return translateUserSettings(systemPath).value_or(std::string(systemPath));
}

std::optional<std::string> InstalledPaths::translateUserSettings(
    std::string_view systemPath) const {
  if (!systemPath.starts_with(kUsers)) return std::nullopt;
  const auto rest = systemPath.substr(kUsers.size());
  const auto user = rest.substr(0, rest.find('/'));
  const auto below = rest.substr(user.size());
  if (!below.starts_with(kSettings)) return std::nullopt;
  const auto home = homeOf(std::string(user));
  if (!home) return "";
  return joined(pathByAppendingComponent(*home, kSettingsBelowHome),
                below.substr(kSettings.size() - 1));
}

std::optional<std::string> InstalledPaths::homeOf(const std::string& user) const {
  // "." and ".." would escape the folder of home directories (path traversal).
  if (user.empty() || user == "." || user == "..") return std::nullopt;
  if (!homes_) return homeFolderOfUser(user);
  return pathByAppendingComponent(*homes_, user);
}

InstalledPaths InstalledPaths::shared() {
  auto& shared = process();
  const MutexLock held(shared.lock);
  if (!shared.paths) shared.paths = pathsOfTheBuild();
  return *shared.paths;
}

void InstalledPaths::setShared(InstalledPaths paths) {
  auto& shared = process();
  const MutexLock held(shared.lock);
  shared.paths = std::move(paths);
}

}  // namespace wevora::platform
