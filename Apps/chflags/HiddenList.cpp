#include "Apps/chflags/HiddenList.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <sys/file.h>
#include <system_error>
#include <thread>
#include <utility>

#include "Platform/Base/Descriptor.h"
#include "Platform/Base/Guard.h"
#include "Platform/Base/Strings.h"
#include "Platform/Files/FileStat.h"
#include "Platform/Files/Hidden.h"
#include "Platform/Files/Links.h"

namespace wevora::chflags {
namespace {

using platform::Descriptor;

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

/// An item as its folder and its name in it.
struct Entry {
  std::string folder;
  std::string name;
};

Entry entryOf(const std::string& path) {
  std::string item = path;
  const auto last = platform::lastPathComponent(item);
  if (last == "." || last == "..") item = platform::resolvedPath(item);
  Entry entry{std::string(platform::pathWithoutLastComponent(item)),
              std::string(platform::lastPathComponent(item))};
  if (entry.folder.empty()) entry.folder = ".";
  if (entry.name.empty() || entry.name == "/")
    throw std::runtime_error("the path does not name an item in a folder");
  if (entry.name.find('\n') != std::string::npos)
    throw std::runtime_error("a .hidden file cannot list a name with a line break");
  return entry;
}

/// The content and status of a ".hidden" file.
struct List {
  std::string text;
  std::optional<platform::FileStat> status;  ///< nullopt when there is no file
};

/// HiddenNames ignores larger files.
void checkLength(const std::string& text) {
  if (text.size() > platform::HiddenNames::kMaxListBytes)
    throw std::runtime_error("the .hidden file exceeds the limit of 4 MiB");
}

/// The path of a folder's ".hidden" file, after following links. The file may not exist yet.
std::string listPathOf(const std::string& folder) {
  constexpr int kMaxLinks = 40;
  std::string path = platform::pathByAppendingComponent(folder, platform::HiddenNames::kFileName);
  for (int links = 0; links < kMaxLinks; ++links) {
    const auto target = platform::linkTarget(path);
    if (!target) return path;
    path = target->starts_with('/') ? *target : platform::parentFolderOf(path) + "/" + *target;
  }
  throw std::runtime_error("the .hidden file is a loop of links");
}

List readList(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file) {
    if (errno == ENOENT) return {};
    fail("cannot read the .hidden file");
  }
  List list{.text = {}, .status = platform::statOf(file.get())};
  if (!list.status) fail("cannot read the .hidden file");
  if (!platform::isRegularFile(*list.status))
    throw std::runtime_error("the .hidden file is not a regular file");
  std::string chunk(65536, '\0');
  for (;;) {
    const ssize_t read = ::read(file.get(), chunk.data(), chunk.size());
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) fail("cannot read the .hidden file");
    if (read == 0) return list;
    list.text.append(chunk, 0, static_cast<std::size_t>(read));
    checkLength(list.text);
  }
}

/// The text without the lines equal to the name, and whether there was such a line.
std::pair<std::string, bool> without(std::string_view text, std::string_view name) {
  std::string rest;
  bool found = false;
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    const auto lineWithEnd = text.substr(0, line.size() + 1);  // the last line may have no end
    if (line == name)
      found = true;
    else
      rest += lineWithEnd;
    text.remove_prefix(lineWithEnd.size());
  }
  return {rest, found};
}

std::string with(const std::string& text, const std::string& name) {
  return text + (text.empty() || text.ends_with('\n') ? "" : "\n") + name + "\n";
}

void writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written == 0) errno = EIO;  // retrying would loop forever
    if (written <= 0) fail("cannot write the .hidden file");
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

/// Replaces the list atomically: readers see either the old or the new one.
void replaceList(const std::string& path, const List& list) {
  const std::string temporary = path + "." + platform::randomUUID();
  const Descriptor file(
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
  if (!file) fail("cannot create a file in the folder");
  bool replaced = false;
  const platform::ScopeExit remove([&] {
    if (!replaced) ::unlink(temporary.c_str());
  });
  writeAll(file.get(), list.text);
  if (list.status) {
    // EPERM is ignored: without the privilege to change the owner the list is still valid.
    if (::fchown(file.get(), list.status->st_uid, list.status->st_gid) != 0 && errno != EPERM)
      fail("cannot write the .hidden file");
    if (::fchmod(file.get(), list.status->st_mode & 0777U) != 0)
      fail("cannot write the .hidden file");
  }
  if (::fsync(file.get()) != 0) fail("cannot write the .hidden file");
  if (::rename(temporary.c_str(), path.c_str()) != 0) fail("cannot replace the .hidden file");
  replaced = true;
}

/// Opens a folder and locks it against other processes that change its list. The timeout is needed
/// because every user who may read the folder can hold the lock forever.
Descriptor lockFolder(const std::string& path, std::chrono::milliseconds timeout) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kRetryInterval(20);
  Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) fail("cannot open the folder");
  const auto deadline = Clock::now() + timeout;
  while (::flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    // The volume does not support locks: continue without one.
    if (errno != EWOULDBLOCK) break;
    if (Clock::now() >= deadline)
      throw std::runtime_error("another program has locked the folder (try again later)");
    std::this_thread::sleep_for(kRetryInterval);
  }
  return folder;
}

}  // namespace

void setHidden(const std::string& path, bool hidden, std::chrono::milliseconds lockTimeout) {
  const Entry entry = entryOf(path);
  if (hidden && !platform::statOf(platform::pathByAppendingComponent(entry.folder, entry.name)))
    throw std::runtime_error(std::generic_category().message(errno));
  const Descriptor folder = lockFolder(entry.folder, lockTimeout);
  const std::string listPath = listPathOf(entry.folder);
  List list = readList(listPath);
  auto [rest, listed] = without(list.text, entry.name);
  if (listed == hidden) return;
  list.text = hidden ? with(list.text, entry.name) : std::move(rest);
  checkLength(list.text);
  if (!list.text.empty())
    replaceList(listPath, list);
  else if (::unlink(listPath.c_str()) != 0)
    fail("cannot remove the .hidden file");
  ::fsync(folder.get());
}

}  // namespace wevora::chflags
