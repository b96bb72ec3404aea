#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Apps/loader/SupportedHosts.h"

namespace wevora::loader {

/// What the loader does to other processes; it never sends one a signal.
/// Threads: one. Owns: nothing. Errors: false where it could not be done.
class Processes {
 public:
  Processes() = default;
  virtual ~Processes() = default;
  Processes(const Processes&) = delete;
  Processes& operator=(const Processes&) = delete;

  /// Becomes the program; comes back only where that cannot be.
  virtual void become(const std::vector<std::string>& command, const Variables& more) = 0;
  /// Starts a program that goes on when this one ends.
  virtual bool start(const std::vector<std::string>& command, const Variables& more) = 0;
  /// Waits for the end of any process.
  virtual bool ends(pid_t process, std::chrono::milliseconds allowed) = 0;
};

/// Those of the machine.
class MachineProcesses : public Processes {
 public:
  void become(const std::vector<std::string>& command, const Variables& more) override;
  bool start(const std::vector<std::string>& command, const Variables& more) override;
  bool ends(pid_t process, std::chrono::milliseconds allowed) override;
};

}  // namespace wevora::loader
