#pragma once

#include <array>
#include <csignal>
#include <stdexcept>

#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::files {

/// Thrown after SIGINT or SIGTERM, when the current operation has been cleaned up.
class Interrupted : public std::runtime_error {
 public:
  explicit Interrupted(int signal) : std::runtime_error("interrupted"), signal_(signal) {}
  /// The signal that the program raises again to end itself.
  int signal() const { return signal_; }

 private:
  int signal_;
};

/// Installs handlers that record the first SIGINT or SIGTERM, so that the current operation can
/// clean up; a second signal ends the program. Ignored signals stay ignored.
/// Ownership: at most one object per process; the destructor restores the previous handlers.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// The recorded signal, or 0.
  static int signal();
  /// Throws Interrupted when a signal was recorded.
  static void check();

 private:
  static constexpr std::array kSignals = {SIGINT, SIGTERM};
  std::array<struct sigaction, kSignals.size()> before_{};
};

/// File system calls that fail with ECANCELED after an interruption, so that a copy takes the same
/// cleanup path as after an I/O error.
class CancellableFileCalls : public platform::FileSystemCalls {
 public:
  int openToRead(int folder, const std::string& name) override;
  int openNew(int folder, const std::string& name) override;
  int clone(int to, int from) override;
  ssize_t copyRange(int from, int to, off_t offset, std::size_t bytes) override;
  ssize_t read(int file, std::byte* bytes, std::size_t count, off_t offset) override;
  ssize_t write(int file, const std::byte* bytes, std::size_t count, off_t offset) override;
  int resize(int file, off_t size) override;
  int flush(int file) override;
  int flushVolume(int file) override;
  int renameNoReplace(int folder, const std::string& from, const std::string& to) override;
};

}  // namespace wevora::files
