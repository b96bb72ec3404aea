#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Apps/loader/SupportedHosts.h"

namespace wevora::loader {

/// Starts and awaits other processes; never sends one a signal.
/// Errors: the methods return false on failure.
class Processes {
 public:
  Processes() = default;
  virtual ~Processes() = default;
  Processes(const Processes&) = delete;
  Processes& operator=(const Processes&) = delete;

  /// Replaces this process with the program; returns only on failure.
  virtual void become(const std::vector<std::string>& command, const Variables& more) = 0;
  /// Starts a detached program.
  virtual bool start(const std::vector<std::string>& command, const Variables& more) = 0;
  /// Waits for a process to exit, at most for `timeout`. It need not be a child.
  virtual bool ends(pid_t process, std::chrono::milliseconds timeout) = 0;
};

/// The processes of the operating system.
class MachineProcesses : public Processes {
 public:
  void become(const std::vector<std::string>& command, const Variables& more) override;
  bool start(const std::vector<std::string>& command, const Variables& more) override;
  bool ends(pid_t process, std::chrono::milliseconds timeout) override;
};

}  // namespace wevora::loader
