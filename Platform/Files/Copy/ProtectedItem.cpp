#include "Platform/Files/Copy/ProtectedItem.h"

#include <cerrno>
#include <filesystem>

#include "Platform/Base/Strings.h"
#include "Platform/Files/Copy/ItemRemoval.h"
#include "Platform/Files/Links.h"

namespace wevora::platform {
namespace {

/// The path with the links in its folders resolved, but not a link at its end.
std::optional<std::string> canonicalOwnPath(const std::string& path) {
  std::error_code failed;
  const auto folder = std::filesystem::canonical(parentFolderOf(path), failed);
  if (failed) return std::nullopt;
  return pathByAppendingComponent(folder.string(), lastPathComponent(path));
}

/// Compares items by their paths.
/// Errors: failed() is true after any error except a missing item.
class PathComparison {
 public:
  bool failed() const { return failed_; }

  std::optional<FileStat> statOf(const std::string& path) {
    auto status = platform::statOf(path);
    if (!status && !isNotFound(errno)) failed_ = true;
    return status;
  }

  bool sameItem(const std::string& a, const std::string& b) {
    const auto statusOfA = statOf(a);
    const auto statusOfB = statOf(b);
    return statusOfA && statusOfB && ItemIdentity::of(*statusOfA) == ItemIdentity::of(*statusOfB);
  }

  /// Whether two paths are the same directory entry. Two hard links to one file are not: removing
  /// one does not affect the other.
  bool sameEntry(const std::string& a, const std::string& b) {
    if (!sameItem(a, b)) return false;
    const auto status = statOf(a);
    if (!status || isDirectory(*status) || status->st_nlink < 2) return true;
    const auto ownA = canonicalOwnPath(a);
    const auto ownB = canonicalOwnPath(b);
    if (!ownA || !ownB) return true;
    // On a case-insensitive volume the names may differ in case.
    return caseFolded(lastPathComponent(*ownA)) == caseFolded(lastPathComponent(*ownB)) &&
           sameItem(parentFolderOf(*ownA), parentFolderOf(*ownB));
  }

  /// Whether `folder` is one of the folders that `path` names above its item.
  bool isAbove(const std::string& folder, const std::string& path) {
    for (std::string above = path; above.size() > 1;) {
      above = pathWithoutLastComponent(above);
      if (sameItem(folder, above.empty() ? "." : above)) return true;
    }
    return false;
  }

  bool affects(const std::string& removed, const std::string& item) {
    if (sameEntry(removed, item) || isAbove(removed, item)) return true;
    const auto ownRemoved = canonicalOwnPath(removed);
    const auto ownItem = canonicalOwnPath(item);
    if (!ownRemoved || !ownItem) return true;
    if (isAbove(removed, *ownItem) || isAbove(item, *ownRemoved)) return true;
    // A link is of no use without its target.
    const std::string target = resolvedPath(*ownItem);
    return target != *ownItem && (sameEntry(removed, target) || isAbove(removed, target));
  }

 private:
  bool failed_ = false;
};

}  // namespace

ProtectedItem::ProtectedItem(const std::string& path) : path_(withoutTrailingSeparators(path)) {
  if (const auto status = statOf(path_))
    identity_ = ItemIdentity::of(*status);
  else
    unknown_ = !isNotFound(errno);
}

bool ProtectedItem::isAffectedByRemoving(const std::string& removed) const {
  const std::string item(withoutTrailingSeparators(removed));
  PathComparison comparison;
  if (!comparison.statOf(item)) return comparison.failed();
  if (unknown_) return true;
  const auto now = comparison.statOf(path_);
  if (now && comparison.affects(item, path_)) return true;
  if (comparison.failed()) return true;
  const bool moved = identity_ && (!now || ItemIdentity::of(*now) != *identity_);
  return moved && mayContain(item, *identity_);
}

bool isInside(const std::string& path, const std::string& folder) {
  const std::string resolved = resolvedPath(path);
  PathComparison comparison;
  return comparison.sameItem(resolved, folder) || comparison.isAbove(folder, resolved);
}

}  // namespace wevora::platform
