#include "Apps/loader/RunningHosts.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "FinderIntegration/wevoraLoader/sharedcheck.h"

namespace wevora::loader {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kLibraryName = "/finder_bundle.bundle/Contents/Linux/finder_bundle.so";
constexpr std::string_view kRecordName = "/dev/shm/finder.shared";
constexpr std::string_view kDeleted = " (deleted)";

/// A line of /proc/PID/maps.
struct Mapping {
  std::uint64_t begin = 0;
  std::uint64_t file = 0;  ///< the inode
  std::string path;        ///< without " (deleted)"
  bool deleted = false;
};

std::optional<Mapping> mappingOf(const std::string& line) {
  std::istringstream words(line);
  std::string range, rights, offset, device;
  Mapping mapping;
  if (!(words >> range >> rights >> offset >> device >> mapping.file)) return std::nullopt;
  std::from_chars(range.data(), range.data() + range.size(), mapping.begin, 16);
  std::getline(words >> std::ws, mapping.path);
  if (mapping.path.ends_with(kDeleted)) {
    mapping.path.resize(mapping.path.size() - kDeleted.size());
    mapping.deleted = true;
  }
  return mapping;
}

std::string programOf(const std::string& process) {
  std::error_code ignored;
  std::string path = fs::read_symlink(process + "/exe", ignored).string();
  // The executable was replaced by an update.
  if (path.ends_with(kDeleted)) path.resize(path.size() - kDeleted.size());
  return path.substr(path.rfind('/') + 1);
}

/// The NUL-separated strings of /proc/PID/cmdline or /proc/PID/environ.
std::vector<std::string> wordsOf(const std::string& process, const char* list) {
  std::ifstream file(process + "/" + list, std::ios::binary);
  std::vector<std::string> words;
  for (std::string word; std::getline(file, word, '\0');) words.push_back(word);
  return words;
}

std::string sessionBusOf(const std::string& process) {
  static constexpr std::string_view kVariable = "DBUS_SESSION_BUS_ADDRESS=";
  for (const auto& word : wordsOf(process, "environ"))
    if (word.starts_with(kVariable)) return word.substr(kVariable.size());
  return "";
}

bool isOfThisUser(const std::string& process) {
  struct stat facts {};
  return ::stat(process.c_str(), &facts) == 0 && facts.st_uid == ::geteuid();
}

/// Returns nullopt when the process's memory cannot be read.
std::optional<SharedRecord> recordAt(const std::string& process, std::uint64_t address) {
  const int memory = ::open((process + "/mem").c_str(), O_RDONLY | O_CLOEXEC);
  if (memory < 0) return std::nullopt;
  SharedRecord record{};
  const ssize_t got = ::pread(memory, &record, sizeof record, static_cast<off_t>(address));
  ::close(memory);
  return got == static_cast<ssize_t>(sizeof record) ? std::optional(record) : std::nullopt;
}

bool isFile(const Mapping& mapping, const std::string& path) {
  struct stat facts {};
  return !mapping.deleted && ::stat(path.c_str(), &facts) == 0 && facts.st_ino == mapping.file;
}

}  // namespace

std::vector<RunningHost> RunningHosts::all() const {
  std::vector<RunningHost> hosts;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(processes_, ignored)) {
    const std::string name = entry.path().filename().string();
    pid_t process = 0;
    const auto read = std::from_chars(name.data(), name.data() + name.size(), process);
    if (read.ec != std::errc() || *read.ptr != '\0') continue;
    if (auto host = hostOf(process)) hosts.push_back(std::move(*host));
  }
  std::ranges::sort(hosts, {}, &RunningHost::process);
  return hosts;
}

std::optional<RunningHost> RunningHosts::hostOf(pid_t process) const {
  const std::string folder = processes_ + "/" + std::to_string(process);
  const auto* supported = hostOfProgram(programOf(folder));
  if (supported == nullptr || !isOfThisUser(folder) || sessionBusOf(folder) != sessionBus_)
    return std::nullopt;
  RunningHost host{.host = supported, .process = process, .command = wordsOf(folder, "cmdline")};
  if (host.command.empty()) return std::nullopt;
  for (const auto& one : supportedHosts())
    if (one.program == supported->program && !one.mode.empty() &&
        std::ranges::find(host.command, one.mode) != host.command.end())
      host.host = &one;
  readHolding(host);
  return host;
}

void RunningHosts::readHolding(RunningHost& host) const {
  const std::string folder = processes_ + "/" + std::to_string(host.process);
  std::ifstream maps(folder + "/maps");
  std::optional<SharedRecord> record;
  bool isInstalledFile = false;
  for (std::string line; std::getline(maps, line);) {
    const auto mapping = mappingOf(line);
    if (!mapping) continue;
    if (mapping->path.ends_with(kLibraryName)) {
      host.holding = Holding::Another;
      isInstalledFile = isInstalledFile || isFile(*mapping, library_);
    } else if (mapping->path == kRecordName) {
      record = recordAt(folder, mapping->begin);
    }
  }
  if (host.holding == Holding::Nothing) return;
  if (record && record->processId == host.process)
    host.version = BundleVersion{record->major, record->minor, record->patch};
  else if (isInstalledFile)
    host.version = installed_;
  if (host.version && host.version == installed_) host.holding = Holding::Installed;
}

}  // namespace wevora::loader
