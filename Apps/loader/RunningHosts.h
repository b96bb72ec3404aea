#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Apps/loader/SupportedHosts.h"
#include "FinderIntegration/wevoraLoader/InstalledVersion.h"

namespace wevora::loader {

/// What a running file manager holds of the bundle.
enum class Holding {
  Nothing,    ///< it has not loaded the bundle
  Installed,  ///< the version that is installed
  Another,    ///< another version
};

/// A file manager that runs.
/// Threads: a value. Owns: its texts. Errors: none.
struct RunningHost {
  const SupportedHost* host = nullptr;
  pid_t process = 0;
  std::vector<std::string> command;  ///< as it was started
  Holding holding = Holding::Nothing;
  std::optional<BundleVersion> version = std::nullopt;  ///< the held one, where it can be told
};

/// Finds the file managers of a session of the calling user's, by their processes' executables and
/// by the session bus in their environment: over it they are asked to quit. What one holds is told
/// by its own mapped copy of the bundle and by the record that the bundle has left in its memory:
/// the record's name is gone as soon as it is written, but the host keeps it mapped. Where the
/// record may not be read, a mapped copy that is the installed file is of the installed version.
/// Threads: any. Owns: its paths. Errors: a process that goes away meanwhile, or that may not be
/// looked at, is not told of.
class RunningHosts {
 public:
  /// `processes` is "/proc"; `library` the installed bundle's code.
  RunningHosts(std::string processes, std::string library, std::optional<BundleVersion> installed,
               std::string sessionBus)
      : processes_(std::move(processes)),
        library_(std::move(library)),
        installed_(installed),
        sessionBus_(std::move(sessionBus)) {}

  /// In the order of their process numbers.
  std::vector<RunningHost> all() const;

 private:
  std::optional<RunningHost> hostOf(pid_t process) const;
  void lookInto(RunningHost& host) const;

  const std::string processes_;
  const std::string library_;
  const std::optional<BundleVersion> installed_;
  const std::string sessionBus_;  ///< its address
};

}  // namespace wevora::loader
