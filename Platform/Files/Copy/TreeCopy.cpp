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

/// Whether size and modification date of an open file are unchanged.
bool isUnchanged(int file, const FileStat& before) {
  const auto now = statOf(file);
  return now && now->st_size == before.st_size && sameTime(now->st_mtim, before.st_mtim);
}

}  // namespace

std::error_code TreeCopy::copy(const std::string& name, const std::string& newName) {
  const auto status = statOf(from_.folder(), name);
  if (!status) return lastError();
  if (isRegularFile(*status)) return copyFile(name, newName);
  if (isDirectory(*status)) return copyFolder(name, newName);
  if (S_ISLNK(status->st_mode)) return copyLink(name, newName, *status);
  return std::make_error_code(std::errc::not_supported);
}

std::error_code TreeCopy::copyFile(const std::string& name, const std::string& newName) {
  const Descriptor in(calls_.openToRead(from_.folder(), name));
  const auto status = in ? statOf(in.get()) : std::nullopt;
  if (!status) return lastError();
  if (!isRegularFile(*status)) return std::make_error_code(std::errc::not_supported);
  Descriptor out(calls_.openNew(to_.folder(), newName));
  if (!out) return lastError();
  auto failed = fill(in.get(), out.get(), *status);
  if (calls_.close(out.release()) != 0 && !failed) failed = lastError();
  return failed;
}

std::error_code TreeCopy::fill(int in, int out, const FileStat& status) {
  if (const auto failed = removeInheritedAcl(out)) return failed;
  if (const auto failed = copyData(calls_, in, out, status.st_size, progress_)) return failed;
  // A mix of old and new bytes is not a copy. A retry may succeed when nothing writes to the file.
  if (!isUnchanged(in, status)) return std::make_error_code(std::errc::text_file_busy);
  if (const auto failed = copyAttributes(in, out, status)) return failed;
  // Flushed through the descriptor that wrote: a descriptor opened later may miss a write error.
  // The files of a folder are flushed together by syncfs.
  const bool alone = to_.depth() == 0;
  return alone && calls_.flush(out) != 0 ? lastError() : std::error_code();
}

std::error_code TreeCopy::copyFolder(const std::string& name, const std::string& newName) {
  if (from_.depth() >= kMaxDepth) return errorOf(ENAMETOOLONG);
  if (const auto failed = from_.enter(name)) return failed;
  if (::mkdirat(to_.folder(), newName.c_str(), 0700) != 0) return lastError();
  // Opened before the first write: syncfs reports all write errors since the descriptor was opened.
  if (const auto failed = to_.enter(newName)) return failed;
  if (const auto failed = copyContents()) return failed;
  const bool isTop = to_.depth() == 1;
  if (isTop && calls_.flushVolume(to_.folder()) != 0) return lastError();
  if (const auto failed = to_.leave()) return failed;
  return from_.leave();
}

std::error_code TreeCopy::copyContents() {
  const auto status = statOf(from_.folder());
  if (!status) return lastError();
  if (const auto failed = removeInheritedAcl(to_.folder())) return failed;
  std::vector<std::string> names;
  if (!forEachEntry(from_.folder(),
                    [&](std::string_view name, ItemKind) { names.emplace_back(name); }))
    return errno != 0 ? lastError() : errorOf(EIO);
  for (const auto& name : names)
    if (const auto failed = copy(name, name)) return failed;
  return copyAttributes(from_.folder(), to_.folder(), *status);
}

std::error_code TreeCopy::copyLink(const std::string& name, const std::string& newName,
                                   const FileStat& status) {
  const auto target = linkTarget(from_.folder(), name);
  if (!target) return lastError();
  if (::symlinkat(target->c_str(), to_.folder(), newName.c_str()) != 0) return lastError();
  return copyLinkAttributes(from_.folder(), name, to_.folder(), newName, status);
}

}  // namespace wevora::platform
