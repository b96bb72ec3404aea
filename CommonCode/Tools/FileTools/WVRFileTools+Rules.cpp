#include <vector>

#include "CommonCode/Tools/FileTools/WVRFileTools.h"
#include "CommonCode/Tools/FileTools/Wildcard.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Files/Hidden.h"
#include "Platform/Files/Trash.h"

namespace wevora {
namespace {

/// Names that are never backed up.
struct IgnoreLists {
  // Split because "??-" is a trigraph.
  const std::vector<std::string> ignoredFileNames = {
      "Wevora-Account-????????"
      "-????"
      "-????"
      "-????"
      "-????????????"
      ".db*"};
  const std::vector<std::string> ignoredFileExtensions = {"part", "dtapart"};

  static const IgnoreLists& shared() {
    static const IgnoreLists lists;
    return lists;
  }
};

/// The text after the last dot; empty without a dot.
std::string_view extensionOf(std::string_view name) {
  const auto dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

bool isIgnoredByLastComponent(const std::string& path) {
  return WVRFileTools::quickCheckIfFileShouldBeIgnoredByName(platform::lastPathComponent(path));
}

}  // namespace

void WVRFileTools::load() {
  IgnoreLists::shared();
}

bool WVRFileTools::quickCheckIfFileShouldBeIgnoredByName(std::string_view name) {
  const auto& lists = IgnoreLists::shared();
  for (const auto& pattern : lists.ignoredFileNames)
    if (matchesWildcard(name, pattern, LetterCase::insensitive)) return true;
  const std::string extension = platform::lowercased(extensionOf(name));
  for (const auto& ignored : lists.ignoredFileExtensions)
    if (extension == ignored) return true;
  return false;
}

bool WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtPath(std::string_view path,
                                                                  bool /*isDirectory*/) {
  return platform::isHiddenItem(path);
}

bool WVRFileTools::quickCheckIfExistingFileShouldBeFilteredAtURL(std::string_view url,
                                                                 bool /*isDirectory*/) {
  const auto path = fileURLToString(url);
  return path && platform::isHiddenItem(*path);
}

bool WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(const std::string& path) {
  const auto item = platform::statOfTarget(path);
  const bool isFolder = platform::isDirectory(item);
  if (item && quickCheckIfExistingFileShouldBeFilteredAtPath(path, isFolder)) return true;
  return visibleItemShouldBeIgnored(path, isFolder);
}

bool WVRFileTools::fileShouldBeIgnoredIfExistsAtPath(const std::string& path,
                                                     std::string_view withURL) {
  const auto item = platform::statOfTarget(path);
  const bool isFolder = platform::isDirectory(item);
  if (item && quickCheckIfExistingFileShouldBeFilteredAtURL(withURL, isFolder)) return true;
  return visibleItemShouldBeIgnored(path, isFolder);
}

bool WVRFileTools::visibleItemShouldBeIgnored(const std::string& path, bool isDirectory) {
  return !isDirectory && isIgnoredByLastComponent(path);
}

bool WVRFileTools::fileIsInsideTrashAtFSPath(const std::string& path) {
  return fileIsInsideTrashAtFSPath(path, platform::TrashPlaces::ofThisUser());
}

bool WVRFileTools::fileIsInsideTrashAtFSPath(const std::string& path,
                                             const platform::TrashPlaces& places) {
  return platform::isInsideTrash(path, places);
}

std::optional<std::string> WVRFileTools::getContainerOfFileWithPath(
    std::string_view path, std::span<const std::string> amongPossibleContainers) {
  if (path.empty()) return std::nullopt;
  for (const auto& container : amongPossibleContainers)
    if (filePathBelongsToDirectoryAtPath(path, container)) return container;
  return std::nullopt;
}

bool WVRFileTools::fileShouldBeIgnored(const std::string& path,
                                       std::string_view inExplicitIncudedFolderWithFSPath) {
  if (inExplicitIncudedFolderWithFSPath.empty()) return false;
  const auto rootLength = platform::utf16Length(inExplicitIncudedFolderWithFSPath);
  if (platform::utf16Length(path) <= rootLength) return false;
  const auto item = platform::statOfTarget(path);
  const bool isFolder = platform::isDirectory(item);
  if (item && quickCheckIfExistingFileShouldBeFilteredAtPath(path, isFolder)) return true;
  if (isIgnoredByLastComponent(path)) return true;
  std::string_view folder = platform::pathWithoutLastComponent(path);
  while (platform::utf16Length(folder) > rootLength) {
    if (quickCheckIfExistingFileShouldBeFilteredAtPath(folder, true)) return true;
    const auto parent = platform::pathWithoutLastComponent(folder);
    if (parent == folder) break;
    folder = parent;
  }
  return false;
}

}  // namespace wevora
