#include "Platform/Files/Copy/TreeCopy.h"

#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Errno.h"
#include "Platform/Files/Copy/CopyData.h"
#include "Platform/Files/Copy/ItemAttributes.h"
#include "Platform/Files/Listing.h"

namespace wevora::platform {
namespace {

bool sameTime(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// Whether an open file is still as it was, its attributes aside.
bool isUnchanged(int file, const ItemFacts& before) {
  const auto now = factsOf(file);
  return now && now->st_size == before.st_size && sameTime(now->st_mtim, before.st_mtim);
}

}  // namespace

std::error_code TreeCopy::copy(const std::string& name, const std::string& newName) {
  const auto facts = factsOf(from_.folder(), name);
  if (!facts) return lastError();
  if (S_ISREG(facts->st_mode)) return copyFile(name, newName);
  if (S_ISDIR(facts->st_mode)) return copyFolder(name, newName);
  if (S_ISLNK(facts->st_mode)) return copyLink(name, newName, *facts);
  return std::make_error_code(std::errc::not_supported);
}

std::error_code TreeCopy::copyFile(const std::string& name, const std::string& newName) {
  const Descriptor in(calls_.openToRead(from_.folder(), name));
  const auto facts = in ? factsOf(in.get()) : std::nullopt;
  if (!facts) return lastError();
  if (!S_ISREG(facts->st_mode)) return std::make_error_code(std::errc::not_supported);
  Descriptor out(calls_.openNew(to_.folder(), newName));
  if (!out) return lastError();
  auto failed = fill(in.get(), out.get(), *facts);
  if (calls_.close(out.release()) != 0 && !failed) failed = lastError();
  return failed;
}

std::error_code TreeCopy::fill(int in, int out, const ItemFacts& facts) {
  if (const auto failed = dropInheritedRights(out)) return failed;
  if (const auto failed = copyData(calls_, in, out, facts.st_size, progress_)) return failed;
  // Half old and half new is the copy of nothing; another attempt may find the file at rest.
  if (!isUnchanged(in, facts)) return std::make_error_code(std::errc::text_file_busy);
  if (const auto failed = copyAttributes(in, out, facts)) return failed;
  // Only the descriptor that wrote is sure to be told of lost bytes. The files of a folder are
  // flushed together with it.
  const bool alone = to_.depth() == 0;
  return alone && calls_.flush(out) != 0 ? lastError() : std::error_code();
}

std::error_code TreeCopy::copyFolder(const std::string& name, const std::string& newName) {
  if (from_.depth() >= kDeepest) return errorOf(ENAMETOOLONG);
  if (const auto failed = from_.enter(name)) return failed;
  if (::mkdirat(to_.folder(), newName.c_str(), 0700) != 0) return lastError();
  // Open from before the first byte is written, it is told of all that are lost.
  if (const auto failed = to_.enter(newName)) return failed;
  if (const auto failed = copyContents()) return failed;
  const bool whole = to_.depth() == 1;
  if (whole && calls_.flushVolume(to_.folder()) != 0) return lastError();
  if (const auto failed = to_.leave()) return failed;
  return from_.leave();
}

std::error_code TreeCopy::copyContents() {
  const auto facts = factsOf(from_.folder());
  if (!facts) return lastError();
  if (const auto failed = dropInheritedRights(to_.folder())) return failed;
  std::vector<std::string> names;
  if (!forEachEntry(from_.folder(),
                    [&](std::string_view name, ItemKind) { names.emplace_back(name); }))
    return errno != 0 ? lastError() : errorOf(EIO);
  for (const auto& name : names)
    if (const auto failed = copy(name, name)) return failed;
  return copyAttributes(from_.folder(), to_.folder(), *facts);
}

std::error_code TreeCopy::copyLink(const std::string& name, const std::string& newName,
                                   const ItemFacts& facts) {
  const auto target = linkTarget(from_.folder(), name);
  if (!target) return lastError();
  if (::symlinkat(target->c_str(), to_.folder(), newName.c_str()) != 0) return lastError();
  return copyLinkAttributes(from_.folder(), name, to_.folder(), newName, facts);
}

}  // namespace wevora::platform
