#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace wevora::testing_host {

/// Changes to the environment of a child process; nullopt removes a variable.
using Environment = std::map<std::string, std::optional<std::string>>;

/// A child process whose output is captured. A thread reads the output continuously, so the child
/// never blocks on a full pipe. New output and the exit wake the default main context, so that
/// runMainLoopUntil can wait for them.
/// Thread-safety: any thread. The child is killed when the thread that started it exits.
/// Ownership: the destructor kills the process.
/// Errors: a program that cannot be executed exits with 127, as in a shell. Throws if fork or pipe
///   fails.
class ChildProcess {
 public:
  /// Default timeout of the waiting functions.
  static constexpr std::chrono::seconds kTimeout{10};

  /// The first word is the program; searched in PATH.
  explicit ChildProcess(const std::vector<std::string>& command, const Environment& changes = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const noexcept;
  /// Does nothing once the child has ended.
  void signal(int number);

  /// Standard output so far.
  std::string output() const;
  /// Standard error so far.
  std::string errors() const;
  /// As in a shell: the exit status, or 128 + the signal number. nullopt while the child runs.
  std::optional<int> status() const;

  // These functions block; the main loop does not run meanwhile.

  /// Waits until the child has exited and all its output is read. Returns nullopt on timeout.
  std::optional<int> waitForExit(std::chrono::milliseconds timeout = kTimeout);
  /// Waits until the standard output contains the text. Returns false on timeout, or if the child
  /// exits without printing it.
  bool waitForOutput(std::string_view text, std::chrono::milliseconds timeout = kTimeout);
  bool waitForErrors(std::string_view text, std::chrono::milliseconds timeout = kTimeout);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// The result of a program run.
struct Outcome {
  int status = -1;  ///< -1 on timeout
  std::string output;
  std::string errors;
};
/// Runs a program and waits for its exit.
Outcome runToCompletion(const std::vector<std::string>& command, const Environment& changes = {});
/// Runs a shell command line with a timeout of one minute. `output` includes standard error.
Outcome runInShell(const std::string& line);

}  // namespace wevora::testing_host
