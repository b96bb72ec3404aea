#pragma once

#include <array>
#include <csignal>
#include <stdexcept>

#include "Platform/Files/Copy/FileSystemCalls.h"

namespace wevora::files {

/// What was asked to stop has stopped and left nothing half done.
class Interrupted : public std::runtime_error {
 public:
  explicit Interrupted(int signal) : std::runtime_error("interrupted"), signal_(signal) {}
  /// The one that the program is still to end by.
  int signal() const { return signal_; }

 private:
  int signal_;
};

/// While it lives, the first SIGINT or SIGTERM is only remembered, so that what is under way can be
/// cleared away; a second one ends the program. A signal that is ignored stays so.
/// Threads: one object at a time. Owns: the handlers. Errors: none.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// 0 as long as there was none.
  static int signal();
  /// Throws Interrupted if there was one.
  static void check();

 private:
  static constexpr std::array kSignals = {SIGINT, SIGTERM};
  std::array<struct sigaction, kSignals.size()> before_{};
};

/// File calls that all fail (ECANCELED) after an interruption, so that a copy ends as if its volume
/// had failed.
/// Threads: one. Owns: nothing. Errors: errno.
class StoppableFileCalls : public platform::FileSystemCalls {
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
