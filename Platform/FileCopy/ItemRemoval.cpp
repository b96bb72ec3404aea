#include "Platform/FileCopy/ItemRemoval.h"

#include <filesystem>
#include <optional>
#include <sys/stat.h>

#include "Platform/FileCopy/FileOperations.h"
#include "Platform/Files/Links.h"
#include "Platform/Strings/Strings.h"

namespace wevora::platform {
namespace {

namespace fs = std::filesystem;
using Facts = struct stat;

/// Lets the owner change each folder of a tree; links are not followed.
void unlockFolders(const std::string& path) {
  std::error_code ignored;
  if (!fs::is_directory(fs::symlink_status(path, ignored))) return;
  fs::permissions(path, fs::perms::owner_all, fs::perm_options::add, ignored);
  for (fs::directory_iterator entry(path, ignored), end; !ignored && entry != end;
       entry.increment(ignored))
    unlockFolders(entry->path().string());
}

std::optional<Facts> factsOf(const std::string& path) {
  Facts facts{};
  return ::lstat(path.c_str(), &facts) == 0 ? std::optional(facts) : std::nullopt;
}

bool sameItem(const Facts& a, const Facts& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

std::string folderOf(const std::string& path) {
  std::string folder(pathWithoutLastComponent(path));
  return folder.empty() ? "." : folder;
}

/// The path with the links on the way resolved, but not a link at its end.
std::optional<std::string> ownPath(const std::string& path) {
  std::error_code failed;
  const auto folder = fs::canonical(folderOf(path), failed);
  if (failed) return std::nullopt;
  return pathByAppendingComponent(folder.string(), lastPathComponent(path));
}

/// Whether two paths name one folder.
bool sameFolder(const std::string& a, const std::string& b) {
  const auto factsOfA = factsOf(a);
  const auto factsOfB = factsOf(b);
  return factsOfA && factsOfB && sameItem(*factsOfA, *factsOfB);
}

/// Whether two paths are one entry of one folder. Two hard links to one file are not: each can be
/// removed without harm to the other.
bool sameEntry(const std::string& a, const std::string& b) {
  const auto facts = factsOf(a);
  const auto other = factsOf(b);
  if (!facts || !other || !sameItem(*facts, *other)) return false;
  if (S_ISDIR(facts->st_mode) || facts->st_nlink < 2) return true;
  const auto ownA = ownPath(a);
  const auto ownB = ownPath(b);
  if (!ownA || !ownB) return true;
  // The names may differ in case, on a volume that does not tell them apart.
  return caseFolded(lastPathComponent(*ownA)) == caseFolded(lastPathComponent(*ownB)) &&
         sameFolder(folderOf(*ownA), folderOf(*ownB));
}

/// Whether `folder` is a folder and one of those above `path`, as the path goes.
bool isAbove(const std::string& folder, const std::string& path) {
  const auto facts = factsOf(folder);
  if (!facts) return false;
  for (std::string above = path; above.size() > 1;) {
    above = pathWithoutLastComponent(above);
    const auto factsAbove = factsOf(above.empty() ? "." : above);
    if (factsAbove && sameItem(*facts, *factsAbove)) return true;
  }
  return false;
}

}  // namespace

std::error_code removeWithContents(const std::string& path) {
  std::error_code failed;
  fs::remove_all(path, failed);
  if (!failed) return {};
  unlockFolders(path);
  fs::remove_all(path, failed);
  return failed;
}

bool liesIn(const std::string& path, const std::string& folder) {
  const std::string resolved = resolvedPath(path);
  return sameFolder(resolved, folder) || isAbove(folder, resolved);
}

bool removalWouldTouch(const std::string& removed, const std::string& kept) {
  if (!factsOf(removed) || !factsOf(kept)) return false;
  if (sameEntry(removed, kept) || isAbove(removed, kept)) return true;
  const auto ownRemoved = ownPath(removed);
  const auto ownKept = ownPath(kept);
  if (!ownRemoved || !ownKept) return true;
  if (isAbove(removed, *ownKept) || isAbove(kept, *ownRemoved)) return true;
  // What a link leads to is all that a person sees of it.
  const std::string target = resolvedPath(*ownKept);
  return target != *ownKept && (sameEntry(removed, target) || isAbove(removed, target));
}

}  // namespace wevora::platform
