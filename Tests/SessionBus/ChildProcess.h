#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace wevora::testing_host {

/// Another program, whose standard output is read here.
/// Threads: one. Owns: the process, which ends with this object or with the test.
/// Errors: a program that cannot be started has no output.
class ChildProcess {
 public:
  explicit ChildProcess(const std::vector<std::string>& command);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Waits for the next line, ten seconds at most; "" where there is none more.
  std::string line();
  /// Reads lines until one holds the text; that line, or "" where there is none.
  std::string lineWith(const std::string& text);
  /// Ends the process and waits for its end.
  void end();

 private:
  pid_t pid_ = -1;
  int output_ = -1;
  std::string read_;
};

/// What a shell command printed on both its outputs, and its exit status.
struct Outcome {
  int status = -1;
  std::string output;
};
Outcome run(const std::string& command);

}  // namespace wevora::testing_host
