#include "Platform/FileCopy/ItemCopy.h"

#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <unistd.h>
#include <vector>

#include "Platform/FileCopy/CopyData.h"
#include "Platform/FileCopy/FileOperations.h"
#include "Platform/FileCopy/ItemAttributes.h"
#include "Platform/FileCopy/ItemRemoval.h"
#include "Platform/FileCopy/KeptItem.h"
#include "Platform/Files/Listing.h"
#include "Platform/Strings/Strings.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/Errno.h"

namespace wevora::platform {
namespace {

using Facts = struct stat;

bool sameTime(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// Whether an open file is still as it was, its attributes aside.
bool isUnchanged(int file, const Facts& before) {
  Facts now{};
  return ::fstat(file, &now) == 0 && now.st_size == before.st_size &&
         sameTime(now.st_mtim, before.st_mtim);
}

std::string nameWhileCopied(const std::string& destination) {
  return pathByAppendingComponent(folderOf(destination), ".wevora-" + randomUUID() + ".part");
}

std::error_code copyLink(const std::string& from, const std::string& to) {
  std::error_code failed;
  const auto target = std::filesystem::read_symlink(from, failed);
  if (failed) return failed;
  return ::symlink(target.c_str(), to.c_str()) == 0 ? std::error_code() : lastError();
}

}  // namespace

std::error_code ItemCopy::copy(const std::string& from, const std::string& to) {
  if (from.empty() || to.empty()) return errorOf(ENOENT);
  const auto facts = factsOf(from);
  if (!facts) return lastError();
  if (factsOf(to)) return errorOf(EEXIST);
  if (errno != ENOENT) return lastError();
  // Its copy would be a part of what is still to be copied.
  if (S_ISDIR(facts->st_mode) && liesIn(folderOf(to), from)) return errorOf(EINVAL);
  const std::string copied = nameWhileCopied(to);
  auto failed = copyAny(from, copied);
  if (!failed) failed = publish(copied, to);
  if (failed) removeWithContents(copied);
  return failed;
}

std::error_code ItemCopy::copyAny(const std::string& from, const std::string& to) {
  const auto facts = factsOf(from);
  if (!facts) return lastError();
  if (S_ISREG(facts->st_mode)) return copyFile(from, to);
  if (S_ISDIR(facts->st_mode)) return copyFolder(from, to, *facts);
  if (!S_ISLNK(facts->st_mode)) return std::make_error_code(std::errc::not_supported);
  if (const auto failed = copyLink(from, to)) return failed;
  return copyAttributes(from, to, *facts);
}

std::error_code ItemCopy::copyFile(const std::string& from, const std::string& to) {
  const Descriptor in(calls_.openToRead(from));
  Facts facts{};
  if (!in || ::fstat(in.get(), &facts) != 0) return lastError();
  if (!S_ISREG(facts.st_mode)) return std::make_error_code(std::errc::not_supported);
  const Descriptor out(calls_.openNew(to));
  if (!out) return lastError();
  if (const auto failed = copyData(calls_, in.get(), out.get(), facts.st_size, progress_))
    return failed;
  // Half old and half new is the copy of nothing; another attempt may find the file at rest.
  if (!isUnchanged(in.get(), facts)) return std::make_error_code(std::errc::text_file_busy);
  return copyAttributes(from, to, facts);
}

std::error_code ItemCopy::copyFolder(const std::string& from, const std::string& to,
                                     const Facts& facts) {
  if (::mkdir(to.c_str(), 0700) != 0) return lastError();
  std::vector<std::string> names;
  if (!eachItemOfFolder(from, [&](std::string_view name, ItemKind) { names.emplace_back(name); }))
    return errno != 0 ? lastError() : errorOf(EIO);
  for (const auto& name : names)
    if (const auto failed =
            copyAny(pathByAppendingComponent(from, name), pathByAppendingComponent(to, name)))
      return failed;
  return copyAttributes(from, to, facts);
}

std::error_code ItemCopy::publish(const std::string& copied, const std::string& to) {
  // The bytes first, then the name: a crash leaves no destination with the right length and wrong
  // contents.
  const auto facts = factsOf(copied);
  if (!facts) return lastError();
  const Descriptor folder(::open(folderOf(to).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (S_ISREG(facts->st_mode)) {
    const Descriptor file(::open(copied.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (file && calls_.flush(file.get()) != 0) return lastError();
    if (!file && folder && calls_.flushVolume(folder.get()) != 0) return lastError();
  } else if (folder && calls_.flushVolume(folder.get()) != 0) {
    return lastError();
  }
  if (calls_.renameToNew(copied, to) != 0) return lastError();
  if (folder) calls_.flush(folder.get());
  return {};
}

}  // namespace wevora::platform
