#pragma once

#include <optional>
#include <string>

namespace wevora::platform {

/// The installation folder of the programs that only this product uses.
extern const char* const kInstalledProgramFolder;

/// Runs command lines with /bin/sh, with a private folder in front of the command's search path.
/// The environment of this process does not change.
/// Thread-safety: safe from any thread; a call blocks until the command has ended.
class Shell {
 public:
  explicit Shell(std::string programFolder = kInstalledProgramFolder)
      : programFolder_(std::move(programFolder)) {}

  /// The exit status of the command, or 128 plus the number of the signal that ended it. nullopt
  /// when it could not be started, or when waitpid(2) fails because the process ignores SIGCHLD.
  std::optional<int> run(const std::string& commandLine) const;

 private:
  std::string programFolder_;
};

}  // namespace wevora::platform
