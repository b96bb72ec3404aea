#include "Platform/Files/Shell.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "Platform/Base/Guard.h"

namespace wevora::platform {
namespace {

constexpr const char* kShell = "/bin/sh";
constexpr std::string_view kPath = "PATH=";
constexpr std::string_view kDefaultPath = "/usr/local/bin:/usr/bin:/bin";

/// This process's environment with `folder` in front of the search path.
std::vector<std::string> environmentWith(const std::string& folder) {
  std::vector<std::string> variables;
  std::string_view path = kDefaultPath;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    const std::string_view text(*variable);
    if (text.starts_with(kPath))
      path = text.substr(kPath.size());
    else
      variables.emplace_back(text);
  }
  variables.push_back(std::string(kPath) + folder + ":" + std::string(path));
  return variables;
}

/// Unblocks all signals and resets their handlers in the child: the calling thread may block them.
void resetSignals(posix_spawnattr_t& attributes) {
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  ::posix_spawnattr_setsigmask(&attributes, &none);
  ::posix_spawnattr_setsigdefault(&attributes, &all);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

std::optional<pid_t> spawnShell(std::string commandLine, std::vector<std::string> variables) {
  std::vector<char*> environment;
  environment.reserve(variables.size() + 1);
  for (auto& variable : variables) environment.push_back(variable.data());
  environment.push_back(nullptr);
  std::string name = "sh";
  std::string option = "-c";
  std::array<char*, 4> arguments = {name.data(), option.data(), commandLine.data(), nullptr};

  posix_spawnattr_t attributes;
  if (::posix_spawnattr_init(&attributes) != 0) return std::nullopt;
  const ScopeExit destroy([&] { ::posix_spawnattr_destroy(&attributes); });
  resetSignals(attributes);
  pid_t child = 0;
  if (::posix_spawn(&child, kShell, nullptr, &attributes, arguments.data(), environment.data()) !=
      0)
    return std::nullopt;
  return child;
}

}  // namespace

const char* const kInstalledProgramFolder = WEVORA_PROGRAM_FOLDER;

std::optional<int> Shell::run(const std::string& commandLine) const {
  const auto child = spawnShell(commandLine, environmentWith(programFolder_));
  if (!child) return std::nullopt;
  int status = 0;
  while (::waitpid(*child, &status, 0) < 0)
    if (errno != EINTR) return std::nullopt;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace wevora::platform
