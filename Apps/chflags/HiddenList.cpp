#include "Apps/chflags/HiddenList.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
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

/// An item's folder and its name there.
struct Place {
  std::string folder;
  std::string name;
};

Place placeOf(const std::string& path) {
  std::string item = path;
  const auto last = platform::lastPathComponent(item);
  if (last == "." || last == "..") item = platform::resolvedPath(item);
  Place place{std::string(platform::pathWithoutLastComponent(item)),
              std::string(platform::lastPathComponent(item))};
  if (place.folder.empty()) place.folder = ".";
  if (place.name.empty() || place.name == "/") throw std::runtime_error("it is in no folder");
  if (place.name.find('\n') != std::string::npos)
    throw std::runtime_error("a name with a line end cannot be listed");
  return place;
}

/// The list as it is on disk.
struct List {
  std::string text;
  std::optional<platform::ItemFacts> facts;  ///< none when there is no list
};

/// File managers' own tools would not read it.
void checkLength(const std::string& text) {
  if (text.size() > platform::HiddenNames::kLongestList)
    throw std::runtime_error("the list of hidden items is too long");
}

/// Where a folder's list is kept: perhaps behind links, and there need not be one yet.
std::string listOf(const std::string& folder) {
  constexpr int kMostLinks = 40;
  std::string path = platform::pathByAppendingComponent(folder, platform::HiddenNames::kFileName);
  for (int links = 0; links < kMostLinks; ++links) {
    const auto target = platform::linkTarget(path);
    if (!target) return path;
    path = target->starts_with('/') ? *target : platform::parentFolderOf(path) + "/" + *target;
  }
  throw std::runtime_error("the list of hidden items is a loop of links");
}

List readList(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file) {
    if (errno == ENOENT) return {};
    fail("cannot read the list of hidden items");
  }
  List list{.text = {}, .facts = platform::factsOf(file.get())};
  if (!list.facts) fail("cannot read the list of hidden items");
  if (!S_ISREG(list.facts->st_mode))
    throw std::runtime_error("the list of hidden items is no file");
  std::string chunk(65536, '\0');
  for (;;) {
    const ssize_t read = ::read(file.get(), chunk.data(), chunk.size());
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) fail("cannot read the list of hidden items");
    if (read == 0) return list;
    list.text.append(chunk, 0, static_cast<std::size_t>(read));
    checkLength(list.text);
  }
}

/// The text with every line that is the name taken out, and whether there was one.
std::pair<std::string, bool> without(std::string_view text, std::string_view name) {
  std::string rest;
  bool found = false;
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    const auto whole = text.substr(0, line.size() + 1);  // with its line end, if it has one
    if (line == name)
      found = true;
    else
      rest += whole;
    text.remove_prefix(whole.size());
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
    if (written == 0) errno = EIO;  // and would be for ever
    if (written <= 0) fail("cannot write the list of hidden items");
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

/// Puts a new list in the old one's place: readers see the one or the other.
void replaceList(const std::string& path, const List& list) {
  const std::string beside = path + "." + platform::randomUUID();
  const Descriptor file(
      ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
  if (!file) fail("cannot write in its folder");
  bool replaced = false;
  const platform::ScopeExit remove([&] {
    if (!replaced) ::unlink(beside.c_str());
  });
  writeAll(file.get(), list.text);
  if (list.facts) {
    // Who may not give it to its owner goes on: the list is the folder's, whoever writes it.
    if (::fchown(file.get(), list.facts->st_uid, list.facts->st_gid) != 0 && errno != EPERM)
      fail("cannot write the list of hidden items");
    if (::fchmod(file.get(), list.facts->st_mode & 0777U) != 0)
      fail("cannot write the list of hidden items");
  }
  if (::fsync(file.get()) != 0) fail("cannot write the list of hidden items");
  if (::rename(beside.c_str(), path.c_str()) != 0) fail("cannot replace the list of hidden items");
  replaced = true;
}

/// The folder, held against other programs that change its list. Anybody who may read it can hold
/// it for ever.
Descriptor lockedFolder(const std::string& path, std::chrono::milliseconds patience) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kPause(20);
  Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) fail("cannot open its folder");
  const auto end = Clock::now() + patience;
  while (::flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    // A volume without locks is better changed than not.
    if (errno != EWOULDBLOCK) break;
    if (Clock::now() >= end) throw std::runtime_error("its folder is held by another program");
    std::this_thread::sleep_for(kPause);
  }
  return folder;
}

}  // namespace

void setHidden(const std::string& path, bool hidden, std::chrono::milliseconds patience) {
  const Place place = placeOf(path);
  struct stat facts {};
  if (hidden &&
      ::lstat(platform::pathByAppendingComponent(place.folder, place.name).c_str(), &facts) != 0)
    fail("cannot be hidden");
  const Descriptor folder = lockedFolder(place.folder, patience);
  const std::string listPath = listOf(place.folder);
  List list = readList(listPath);
  auto [rest, listed] = without(list.text, place.name);
  if (listed == hidden) return;
  list.text = hidden ? with(list.text, place.name) : std::move(rest);
  checkLength(list.text);
  if (!list.text.empty())
    replaceList(listPath, list);
  else if (::unlink(listPath.c_str()) != 0)
    fail("cannot remove the list of hidden items");
  ::fsync(folder.get());
}

}  // namespace wevora::chflags
