#include "Apps/loader/Processes.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace wevora::loader {
namespace {

/// A null-terminated argument vector that refers to `command`.
std::vector<char*> asArguments(const std::vector<std::string>& command) {
  std::vector<char*> words;
  words.reserve(command.size() + 1);
  for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  return words;
}

void setVariables(const Variables& more) {
  for (const auto& [name, value] : more) ::setenv(name.c_str(), value.c_str(), 1);
}

/// Starts the program in a new session, with /dev/null as its standard streams.
bool spawnDetached(const std::vector<std::string>& command) {
  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  ::posix_spawn_file_actions_init(&files);
  ::posix_spawnattr_init(&attributes);
  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    ::posix_spawn_file_actions_addopen(&files, file, "/dev/null", O_RDWR, 0);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  pid_t child = -1;
  const auto words = asArguments(command);
  const int failed =
      ::posix_spawnp(&child, words.front(), &files, &attributes, words.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&files);
  return failed == 0;
}

}  // namespace

void MachineProcesses::become(const std::vector<std::string>& command, const Variables& more) {
  setVariables(more);
  ::execvp(command.front().c_str(), asArguments(command).data());
}

bool MachineProcesses::start(const std::vector<std::string>& command, const Variables& more) {
  setVariables(more);
  return spawnDetached(command);
}

bool MachineProcesses::ends(pid_t process, std::chrono::milliseconds timeout) {
  const int handle = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
  if (handle < 0) return errno == ESRCH;
  pollfd ended{handle, POLLIN, 0};
  const int ready = ::poll(&ended, 1, static_cast<int>(timeout.count()));
  ::close(handle);
  return ready == 1;
}

}  // namespace wevora::loader
