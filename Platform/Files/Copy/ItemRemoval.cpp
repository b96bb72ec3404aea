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
  std::uint64_t mount;  ///< what tells a folder from one that is bound to it; the device does not
};

std::optional<Entry> entryOf(int folder, const char* name) {
  struct statx facts {};
  const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_EMPTY_PATH;
  if (::statx(folder, name, flags, STATX_TYPE | STATX_MODE | STATX_INO | STATX_MNT_ID, &facts) != 0)
    return std::nullopt;
  const dev_t device = makedev(facts.stx_dev_major, facts.stx_dev_minor);
  const bool told = (facts.stx_mask & STATX_MNT_ID) != 0;  // not by kernels before 5.8
  return Entry{{device, facts.stx_ino}, facts.stx_mode, told ? facts.stx_mnt_id : device};
}

/// Adds what a folder's owner needs to change it; none when it had that, or may not have it.
std::optional<mode_t> unlocked(int folder) {
  const auto facts = factsOf(folder);
  const mode_t mode = facts ? facts->st_mode & 07777U : S_IRWXU;
  if ((mode & S_IRWXU) == S_IRWXU) return std::nullopt;
  // Not fchmod: a folder that may not be read is open as a place only.
  const std::string place = "/proc/self/fd/" + std::to_string(folder);
  return ::chmod(place.c_str(), mode | S_IRWXU) == 0 ? std::optional(mode) : std::nullopt;
}

/// A walk through an item and all that is in it, from the deepest up, which removes or only looks
/// whether anything is in the way. The looking leaves folders as they are.
/// Threads: one. Owns: its place. Errors: the first one ends the walk.
class RemovalWalk {
 public:
  enum class Kind { looks, removes };

  RemovalWalk(Kind kind, Descriptor folder, std::optional<ItemIdentity> kept = std::nullopt)
      : kind_(kind), kept_(kept), position_(std::move(folder)) {}

  std::error_code run(const std::string& name) {
    const auto top = entryOf(position_.folder(), "");
    if (!top) return lastError();
    mount_ = top->mount;
    auto failed = visit(name);
    while (!failed && !under_.empty()) failed = step();
    if (kind_ == Kind::looks)
      while (!under_.empty() && !leave()) {
      }
    return failed;
  }

 private:
  /// A folder that is being walked through.
  struct Folder {
    std::string name;
    std::vector<std::string> rest;  ///< what is still to be visited in it
    std::optional<mode_t> mode;     ///< what it had before it was unlocked
  };

  std::error_code step() {
    auto& rest = under_.back().rest;
    if (rest.empty()) return leave();
    const std::string next = std::move(rest.back());
    rest.pop_back();
    return visit(next);
  }

  std::error_code visit(const std::string& name) {
    std::optional<Entry> entry;
    if (!unlocking([&] { return (entry = entryOf(position_.folder(), name.c_str())).has_value(); }))
      return unlessMissing();
    if (entry->mount != mount_ || entry->identity == kept_) return errorOf(EBUSY);
    if (S_ISDIR(entry->mode)) return enter(name);
    return removed(name, 0);
  }

  std::error_code enter(const std::string& name) {
    Folder below{.name = name, .rest = {}, .mode = {}};
    std::error_code failed;
    const auto entered = [&] {
      failed = position_.enter(name);
      errno = failed.value();
      return !failed;
    };
    if (!unlocking(entered)) {
      if (failed == errorOf(EACCES)) below.mode = unlockedBelow(name);
      if (!below.mode || !entered()) return failed;
    }
    under_.push_back(std::move(below));
    // What was mounted there since.
    const auto entry = entryOf(position_.folder(), "");
    if (!entry) return lastError();
    if (entry->mount != mount_) return errorOf(EBUSY);
    auto& rest = under_.back().rest;
    if (!forEachEntry(position_.folder(),
                      [&](std::string_view item, ItemKind) { rest.emplace_back(item); }))
      return errno != 0 ? lastError() : errorOf(EIO);
    return {};
  }

  std::error_code leave() {
    const Folder left = std::move(under_.back());
    under_.pop_back();
    if (left.mode && kind_ == Kind::looks) ::fchmod(position_.folder(), *left.mode);
    if (const auto failed = position_.leave()) return failed;
    return removed(left.name, AT_REMOVEDIR);
  }

  std::error_code removed(const std::string& name, int flags) {
    if (kind_ == Kind::looks) return {};
    if (unlocking([&] { return ::unlinkat(position_.folder(), name.c_str(), flags) == 0; }))
      return {};
    return unlessMissing();
  }

  static std::error_code unlessMissing() {
    return errno == ENOENT ? std::error_code() : lastError();
  }

  /// Tries again in a folder that was locked. The folder that the whole item is in stays as it is.
  template <class Try>
  bool unlocking(Try attempt) {
    if (attempt()) return true;
    const int error = errno;
    if ((error == EACCES || error == EPERM) && !under_.empty() && !under_.back().mode) {
      under_.back().mode = unlocked(position_.folder());
      if (under_.back().mode) return attempt();
    }
    errno = error;
    return false;
  }

  /// For a folder that may not even be opened.
  std::optional<mode_t> unlockedBelow(const std::string& name) const {
    const Descriptor place(
        ::openat(position_.folder(), name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const auto entry = place ? entryOf(place.get(), "") : std::nullopt;
    return entry && entry->mount == mount_ ? unlocked(place.get()) : std::nullopt;
  }

  const Kind kind_;
  const std::optional<ItemIdentity> kept_;
  DirectoryCursor position_;
  std::vector<Folder> under_;
  std::uint64_t mount_ = 0;
};

bool namesAnItem(std::string_view name) {
  return !name.empty() && name != "/" && name != "." && name != "..";
}

}  // namespace

std::error_code removeWithContents(int folder, const std::string& name) {
  const auto again = [&] { return Descriptor(::fcntl(folder, F_DUPFD_CLOEXEC, 0)); };
  if (const auto failed = RemovalWalk(RemovalWalk::Kind::looks, again()).run(name)) return failed;
  return RemovalWalk(RemovalWalk::Kind::removes, again()).run(name);
}

std::error_code removeWithContents(const std::string& path) {
  const auto item = withoutTrailingSeparators(path);
  const std::string name(lastPathComponent(item));
  // The others would be found by another name only when all in them is gone.
  if (!namesAnItem(name)) return errorOf(EINVAL);
  const Descriptor folder = folderHolding(item);
  if (!folder) return isNotFound(errno) ? std::error_code() : lastError();
  return removeWithContents(folder.get(), name);
}

bool mayContain(const std::string& path, const ItemIdentity& identity) {
  const auto item = withoutTrailingSeparators(path);
  Descriptor folder = folderHolding(item);
  if (!folder) return !isNotFound(errno);
  RemovalWalk walk(RemovalWalk::Kind::looks, std::move(folder), identity);
  return static_cast<bool>(walk.run(std::string(lastPathComponent(item))));
}

}  // namespace wevora::platform
