#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "Apps/loader/Processes.h"
#include "Apps/loader/RunningHosts.h"
#include "Apps/loader/SupportedHosts.h"

namespace wevora::loader {

inline constexpr const char* kUsage =
    "usage: wevora-loader nautilus|pcmanfm-qt|pcmanfm-qt-desktop [ARGUMENT...]\n"
    "       wevora-loader --status | --restart\n"
    "\n"
    "Starts a file manager with the backup badges in it, with these arguments.\n"
    "\n"
    "  --status     tells which running file managers of the caller hold the badges' bundle, and "
    "in\n"
    "               which version\n"
    "  --restart    asks those that hold another version than the installed one to quit, and "
    "starts\n"
    "               them again; none is ever killed\n"
    "  --help, --version\n"
    "\n"
    "Exit status: 0 done (--status: no file manager holds another version), 1 the file manager "
    "could\n"
    "not be started, 2 for a wrong call, 3 --status: a file manager holds another version,\n"
    "4 --restart: a file manager did not quit.\n";

/// What the loader's commands do.
/// Threads: one. Owns: nothing. Errors: told in one line on the stream for them, and by the exit
/// status.
class Loader {
 public:
  static constexpr int kDone = 0;
  static constexpr int kNotStarted = 1;
  static constexpr int kWrongUsage = 2;
  static constexpr int kAnotherVersion = 3;
  static constexpr int kNotQuit = 4;

  struct Dependencies {
    Processes& processes;
    std::function<std::vector<RunningHost>()> running;
    std::optional<BundleVersion> installed;
    std::string pluginFolder;
    Variables environment;
    std::ostream& out;
    std::ostream& errors;
  };
  explicit Loader(Dependencies dependencies) : around_(std::move(dependencies)) {}

  int start(const SupportedHost& host, std::span<const std::string> more);
  int status();
  int restart();

 private:
  int complain(int status, const std::string& text);
  bool restart(const RunningHost& running);

  const Dependencies around_;
};

}  // namespace wevora::loader
