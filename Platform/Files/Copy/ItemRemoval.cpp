#include "Platform/Files/Copy/ItemRemoval.h"

#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Errno.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/Copy/DirectoryCursor.h"
#include "Platform/Files/Listing.h"

namespace wevora::platform {
namespace {

struct Entry {
  ItemIdentity identity;
  mode_t mode;
  std::uint64_t mountId;  ///< detects bind mounts, which have the same device
};

std::optional<Entry> entryOf(int folder, const char* name) {
  struct statx status {};
  const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_EMPTY_PATH;
  if (::statx(folder, name, flags, STATX_TYPE | STATX_MODE | STATX_INO | STATX_MNT_ID, &status) !=
      0)
    return std::nullopt;
  const dev_t device = makedev(status.stx_dev_major, status.stx_dev_minor);
  const bool hasMountId = (status.stx_mask & STATX_MNT_ID) != 0;  // since Linux 5.8
  return Entry{{device, status.stx_ino}, status.stx_mode, hasMountId ? status.stx_mnt_id : device};
}

/// Grants the owner rwx on a folder and returns the mode before; nullopt when the owner had rwx
/// already, or when chmod fails.
std::optional<mode_t> unlock(int folder) {
  const auto status = statOf(folder);
  const mode_t mode = status ? status->st_mode & 07777U : S_IRWXU;
  if ((mode & S_IRWXU) == S_IRWXU) return std::nullopt;
  // Not fchmod: an unreadable folder is open with O_PATH, which fchmod refuses.
  const std::string path = "/proc/self/fd/" + std::to_string(folder);
  return ::chmod(path.c_str(), mode | S_IRWXU) == 0 ? std::optional(mode) : std::nullopt;
}

/// Walks through an item and its contents, deepest first. `remove` unlinks every item; `dryRun`
/// only checks whether a mount or the protected item prevents the removal, and restores the modes
/// of the folders that it had to unlock.
/// Errors: the first error ends the walk.
class RemovalWalk {
 public:
  enum class Mode { dryRun, remove };

  RemovalWalk(Mode mode, Descriptor folder,
              std::optional<ItemIdentity> protectedItem = std::nullopt)
      : mode_(mode), protectedItem_(protectedItem), cursor_(std::move(folder)) {}

  std::error_code run(const std::string& name) {
    const auto top = entryOf(cursor_.folder(), "");
    if (!top) return lastError();
    mountId_ = top->mountId;
    auto failed = visit(name);
    while (!failed && !stack_.empty()) failed = step();
    if (mode_ == Mode::dryRun)
      while (!stack_.empty() && !leave()) {
      }
    return failed;
  }

 private:
  /// A folder on the path from the top to the cursor.
  struct Folder {
    std::string name;
    std::vector<std::string> pending;  ///< names that are still to be visited
    std::optional<mode_t> lockedMode;  ///< the mode before the folder was unlocked
  };

  std::error_code step() {
    auto& pending = stack_.back().pending;
    if (pending.empty()) return leave();
    const std::string next = std::move(pending.back());
    pending.pop_back();
    return visit(next);
  }

  std::error_code visit(const std::string& name) {
    std::optional<Entry> entry;
    if (!tryUnlocking(
            [&] { return (entry = entryOf(cursor_.folder(), name.c_str())).has_value(); }))
      return lastErrorUnlessMissing();
    if (entry->mountId != mountId_ || entry->identity == protectedItem_) return errorOf(EBUSY);
    if (S_ISDIR(entry->mode)) return enter(name);
    return remove(name, 0);
  }

  std::error_code enter(const std::string& name) {
    Folder below{.name = name, .pending = {}, .lockedMode = {}};
    std::error_code failed;
    const auto tryEntering = [&] {
      failed = cursor_.enter(name);
      errno = failed.value();
      return !failed;
    };
    if (!tryUnlocking(tryEntering)) {
      if (failed == errorOf(EACCES)) below.lockedMode = unlockBelow(name);
      if (!below.lockedMode || !tryEntering()) return failed;
    }
    stack_.push_back(std::move(below));
    // Checked again after the open: a file system may have been mounted in between.
    const auto entry = entryOf(cursor_.folder(), "");
    if (!entry) return lastError();
    if (entry->mountId != mountId_) return errorOf(EBUSY);
    auto& pending = stack_.back().pending;
    if (!forEachEntry(cursor_.folder(),
                      [&](std::string_view item, ItemKind) { pending.emplace_back(item); }))
      return errno != 0 ? lastError() : errorOf(EIO);
    return {};
  }

  std::error_code leave() {
    const Folder left = std::move(stack_.back());
    stack_.pop_back();
    if (left.lockedMode && mode_ == Mode::dryRun) ::fchmod(cursor_.folder(), *left.lockedMode);
    if (const auto failed = cursor_.leave()) return failed;
    return remove(left.name, AT_REMOVEDIR);
  }

  std::error_code remove(const std::string& name, int flags) {
    if (mode_ == Mode::dryRun) return {};
    if (tryUnlocking([&] { return ::unlinkat(cursor_.folder(), name.c_str(), flags) == 0; }))
      return {};
    return lastErrorUnlessMissing();
  }

  static std::error_code lastErrorUnlessMissing() {
    return errno == ENOENT ? std::error_code() : lastError();
  }

  /// Retries after unlocking the current folder. The folder that contains the whole item is never
  /// unlocked.
  template <class Try>
  bool tryUnlocking(Try attempt) {
    if (attempt()) return true;
    const int error = errno;
    if ((error == EACCES || error == EPERM) && !stack_.empty() && !stack_.back().lockedMode) {
      stack_.back().lockedMode = unlock(cursor_.folder());
      if (stack_.back().lockedMode) return attempt();
    }
    errno = error;
    return false;
  }

  /// Unlocks a folder that cannot be opened for reading.
  std::optional<mode_t> unlockBelow(const std::string& name) const {
    const Descriptor folder(
        ::openat(cursor_.folder(), name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const auto entry = folder ? entryOf(folder.get(), "") : std::nullopt;
    return entry && entry->mountId == mountId_ ? unlock(folder.get()) : std::nullopt;
  }

  const Mode mode_;
  const std::optional<ItemIdentity> protectedItem_;
  DirectoryCursor cursor_;
  std::vector<Folder> stack_;
  std::uint64_t mountId_ = 0;
};

bool namesAnItem(std::string_view name) {
  return !name.empty() && name != "/" && name != "." && name != "..";
}

}  // namespace

std::error_code removeWithContents(int folder, const std::string& name) {
  const auto duplicate = [&] { return Descriptor(::fcntl(folder, F_DUPFD_CLOEXEC, 0)); };
  if (const auto failed = RemovalWalk(RemovalWalk::Mode::dryRun, duplicate()).run(name))
    return failed;
  return RemovalWalk(RemovalWalk::Mode::remove, duplicate()).run(name);
}

std::error_code removeWithContents(const std::string& path) {
  const auto item = withoutTrailingSeparators(path);
  const std::string name(lastPathComponent(item));
  // rmdir(2) refuses "." and "..", but only after their contents would have been removed.
  if (!namesAnItem(name)) return errorOf(EINVAL);
  const Descriptor folder = openParentFolder(item);
  if (!folder) return isNotFound(errno) ? std::error_code() : lastError();
  return removeWithContents(folder.get(), name);
}

bool mayContain(const std::string& path, const ItemIdentity& identity) {
  const auto item = withoutTrailingSeparators(path);
  Descriptor folder = openParentFolder(item);
  if (!folder) return !isNotFound(errno);
  RemovalWalk walk(RemovalWalk::Mode::dryRun, std::move(folder), identity);
  return static_cast<bool>(walk.run(std::string(lastPathComponent(item))));
}

}  // namespace wevora::platform
