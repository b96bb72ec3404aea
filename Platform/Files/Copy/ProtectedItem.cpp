#include "Platform/Files/Copy/ProtectedItem.h"

#include <cerrno>
#include <filesystem>

#include "Platform/Base/Strings.h"
#include "Platform/Files/Copy/ItemRemoval.h"
#include "Platform/Files/Links.h"

namespace wevora::platform {
namespace {

/// The path with the links on the way resolved, but not a link at its end.
std::optional<std::string> ownPath(const std::string& path) {
  std::error_code failed;
  const auto folder = std::filesystem::canonical(parentFolderOf(path), failed);
  if (failed) return std::nullopt;
  return pathByAppendingComponent(folder.string(), lastPathComponent(path));
}

/// Compares items by their paths.
/// Threads: one. Owns: nothing. Errors: remembers whether there was one.
class PathComparison {
 public:
  bool failed() const { return failed_; }

  std::optional<ItemFacts> facts(const std::string& path) {
    auto found = factsOf(path);
    if (!found && !isNotFound(errno)) failed_ = true;
    return found;
  }

  bool sameItem(const std::string& a, const std::string& b) {
    const auto factsOfA = facts(a);
    const auto factsOfB = facts(b);
    return factsOfA && factsOfB && ItemIdentity::of(*factsOfA) == ItemIdentity::of(*factsOfB);
  }

  /// Whether two paths are one entry of one folder. Two hard links to one file are not: each can be
  /// removed without harm to the other.
  bool sameEntry(const std::string& a, const std::string& b) {
    if (!sameItem(a, b)) return false;
    const auto found = facts(a);
    if (!found || S_ISDIR(found->st_mode) || found->st_nlink < 2) return true;
    const auto ownA = ownPath(a);
    const auto ownB = ownPath(b);
    if (!ownA || !ownB) return true;
    // The names may differ in case, on a volume that does not tell them apart.
    return caseFolded(lastPathComponent(*ownA)) == caseFolded(lastPathComponent(*ownB)) &&
           sameItem(parentFolderOf(*ownA), parentFolderOf(*ownB));
  }

  /// Whether `folder` is one of those above `path`, as the path goes.
  bool isAbove(const std::string& folder, const std::string& path) {
    for (std::string above = path; above.size() > 1;) {
      above = pathWithoutLastComponent(above);
      if (sameItem(folder, above.empty() ? "." : above)) return true;
    }
    return false;
  }

  bool touches(const std::string& removed, const std::string& kept) {
    if (sameEntry(removed, kept) || isAbove(removed, kept)) return true;
    const auto ownRemoved = ownPath(removed);
    const auto ownKept = ownPath(kept);
    if (!ownRemoved || !ownKept) return true;
    if (isAbove(removed, *ownKept) || isAbove(kept, *ownRemoved)) return true;
    // What a link leads to is all that a person sees of it.
    const std::string target = resolvedPath(*ownKept);
    return target != *ownKept && (sameEntry(removed, target) || isAbove(removed, target));
  }

 private:
  bool failed_ = false;
};

}  // namespace

ProtectedItem::ProtectedItem(const std::string& path) : path_(withoutTrailingSeparators(path)) {
  if (const auto facts = factsOf(path_))
    identity_ = ItemIdentity::of(*facts);
  else
    unknown_ = !isNotFound(errno);
}

bool ProtectedItem::wouldBeTouchedByRemoving(const std::string& removed) const {
  const std::string item(withoutTrailingSeparators(removed));
  PathComparison comparison;
  if (!comparison.facts(item)) return comparison.failed();
  if (unknown_) return true;
  const auto now = comparison.facts(path_);
  if (now && comparison.touches(item, path_)) return true;
  if (comparison.failed()) return true;
  const bool moved = identity_ && (!now || ItemIdentity::of(*now) != *identity_);
  return moved && mayContain(item, *identity_);
}

bool liesIn(const std::string& path, const std::string& folder) {
  const std::string resolved = resolvedPath(path);
  PathComparison comparison;
  return comparison.sameItem(resolved, folder) || comparison.isAbove(folder, resolved);
}

}  // namespace wevora::platform
