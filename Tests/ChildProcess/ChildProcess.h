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

/// Variables that a child has beside this process's own; none takes one away.
using Environment = std::map<std::string, std::optional<std::string>>;

/// Another program, and what it says. Its output is read all the time, so that it never waits for
/// us; each piece of it, and its end, wakes the default main context: a condition about them can
/// be waited for with runMainLoopUntil.
/// Threads: any; it ends with the thread that made it.
/// Owns: the process, which is killed when the object goes, and a thread.
/// Errors: a program that cannot be started ends with 127, as in a shell; throws where there is no
///   process to be had.
class ChildProcess {
 public:
  static constexpr std::chrono::seconds kPatience{10};

  /// The first word is the program, looked for in PATH.
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
  /// As a shell tells it: the exit status, or 128 and the signal; none while it runs.
  std::optional<int> status() const;

  // These block; the main loop of this process rests meanwhile.

  /// Its status once it has ended and all its output is read; none where it is not over in time.
  std::optional<int> waitForEnd(std::chrono::milliseconds allowed = kPatience);
  /// Whether the standard output holds the text in time; false too when it ends without.
  bool waitForOutput(std::string_view text, std::chrono::milliseconds allowed = kPatience);
  bool waitForErrors(std::string_view text, std::chrono::milliseconds allowed = kPatience);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// What a program that has ended has left.
struct Outcome {
  int status = -1;  ///< -1: it was not over in time
  std::string output;
  std::string errors;
};
/// Runs a program to its end.
Outcome ranToItsEnd(const std::vector<std::string>& command, const Environment& changes = {});
/// The same for a line of the shell, which may take a minute; its errors stand among its output.
Outcome ranInShell(const std::string& line);

}  // namespace wevora::testing_host
