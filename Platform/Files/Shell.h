#pragma once

#include <optional>
#include <string>

namespace wevora::platform {

/// Where the programs that only this product uses are installed.
extern const char* const kInstalledProgramFolder;

/// Runs command lines with the system's shell. Programs are looked for in a private folder first;
/// only the command sees that search path, the process's environment stays as it is.
/// Threads: any; a call blocks until its command has ended. Owns: nothing.
/// Errors: a command that cannot be started has no exit status.
class Shell {
 public:
  explicit Shell(std::string programFolder = kInstalledProgramFolder)
      : programFolder_(std::move(programFolder)) {}

  /// The command's exit status; 128 plus the signal for one that a signal ended; none when it was
  /// not started, or when the process does not learn how its children end.
  std::optional<int> run(const std::string& commandLine) const;

 private:
  std::string programFolder_;
};

}  // namespace wevora::platform
