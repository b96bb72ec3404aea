#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "CommonCode/Tools/FileTools/Wildcard.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Files/Hidden.h"
#include "Platform/Files/Links.h"
#include "Platform/Files/Listing.h"

namespace wevora {
namespace {

using platform::ItemKind;

/// Maximum length of a chain of links that is followed.
constexpr int kMaxSymlinksCount = 100;

/// The item at the end of a chain of links; still a link when the chain is too long or broken.
struct Target {
  std::string path;
  ItemKind kind;
};

Target followLinks(const std::string& path, ItemKind kind) {
  Target reached{path, kind};
  for (int count = 0; count < kMaxSymlinksCount && reached.kind == ItemKind::link; ++count) {
    std::string next = platform::afterOneLink(reached.path);
    if (next == reached.path) break;  // a dangling link or a loop
    reached = {next, platform::kindOfItem(next)};
  }
  return reached;
}

/// Whether the rules treat the item as a folder: links are followed.
bool leadsToFolder(const std::string& path, ItemKind kind) {
  if (kind == ItemKind::folder) return true;
  const bool mayBeLink = kind == ItemKind::link || kind == ItemKind::unknown;
  return mayBeLink && platform::isDirectory(platform::statOfTarget(path));
}

}  // namespace

std::vector<std::string> WVRFileTools::getContentsOfDirectory(const std::string& directory) {
  return getContentsOfDirectory(directory, std::nullopt);
}

std::vector<std::string> WVRFileTools::getContentsOfDirectory(
    const std::string& directory, std::optional<std::string_view> byMask) {
  return getContentsOfDirectory(directory, byMask, false);
}

std::vector<std::string> WVRFileTools::getContentsOfDirectory(
    const std::string& directory, std::optional<std::string_view> byMask, bool skipDirectories) {
  return getContentsOfDirectory(directory, byMask, skipDirectories, false);
}

std::vector<std::string> WVRFileTools::getContentsOfDirectory(
    const std::string& directory, std::optional<std::string_view> byMask, bool skipDirectories,
    bool skipFiles) {
  return getContentsOfDirectory(directory, byMask, skipDirectories, skipFiles, true);
}

std::vector<std::string> WVRFileTools::getContentsOfDirectory(
    const std::string& directory, std::optional<std::string_view> byMask, bool skipDirectories,
    bool skipFiles, bool resolveSymlinks) {
  return getContentsOfDirectory(directory, byMask, skipDirectories, skipFiles, resolveSymlinks,
                                true);
}

std::vector<std::string> WVRFileTools::getContentsOfDirectory(
    const std::string& directory, std::optional<std::string_view> byMask, bool skipDirectories,
    bool skipFiles, bool resolveSymlinks, bool skipSymlinks) {
  return getContentsOfDirectory(directory, byMask, skipDirectories, skipFiles, resolveSymlinks,
                                skipSymlinks, false);
}

std::vector<std::string> WVRFileTools::getContentsOfDirectory(
    const std::string& directory, std::optional<std::string_view> byMask, bool skipDirectories,
    bool skipFiles, bool resolveSymlinks, bool skipSymlinks, bool useResolvedPaths) {
  std::vector<std::string> paths;
  if (directory.empty()) return paths;
  const std::string folder = platform::resolvedPath(directory);
  platform::forEachEntry(folder, [&](std::string_view name, ItemKind ownKind) {
    std::string own = platform::pathByAppendingComponent(folder, name);
    std::optional<Target> target;
    if (resolveSymlinks && ownKind == ItemKind::link) target = followLinks(own, ownKind);
    const ItemKind kind = target ? target->kind : ownKind;
    if (skipSymlinks && kind == ItemKind::link) return;
    if (skipDirectories && kind == ItemKind::folder) return;
    if (skipFiles && kind == ItemKind::file) return;
    if (byMask && !matchesWildcard(name, *byMask, LetterCase::sensitive)) return;
    paths.push_back(useResolvedPaths && target ? std::move(target->path) : std::move(own));
  });
  return paths;
}

std::vector<std::string> WVRFileTools::scanURLIgnoringExtras(std::optional<std::string_view> url) {
  return scanURLIgnoringExtras(url, true);
}

std::vector<std::string> WVRFileTools::scanURLIgnoringExtras(std::optional<std::string_view> url,
                                                             bool checkPermissions) {
  return scanURLIgnoringExtras(url, true, checkPermissions);
}

std::vector<std::string> WVRFileTools::scanURLIgnoringExtrasAndDirs(
    std::optional<std::string_view> url) {
  return scanURLIgnoringExtrasAndDirs(url, true);
}

std::vector<std::string> WVRFileTools::scanURLIgnoringExtrasAndDirs(
    std::optional<std::string_view> url, bool checkPermissions) {
  return scanURLIgnoringExtras(url, false, checkPermissions);
}

std::vector<std::string> WVRFileTools::scanURLIgnoringExtras(std::optional<std::string_view> url,
                                                             bool saveFolders,
                                                             bool /*checkPermissions*/) {
  std::vector<std::string> paths;
  const auto folder = url ? fileURLToString(*url) : std::nullopt;
  if (!folder || folder->empty()) return paths;
  const platform::HiddenNames hidden(*folder);
  platform::forEachEntry(*folder, [&](std::string_view name, ItemKind kind) {
    if (hidden.hides(name)) return;
    if ((kind == ItemKind::folder) != saveFolders) return;
    std::string path = platform::pathByAppendingComponent(*folder, name);
    // Known to be visible; the full rule would read the ".hidden" file again for each item.
    if (!visibleItemShouldBeIgnored(path, leadsToFolder(path, kind)))
      paths.push_back(std::move(path));
  });
  return paths;
}

}  // namespace wevora
