#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Apps/loader/SupportedHosts.h"
#include "FinderIntegration/wevoraLoader/InstalledVersion.h"

namespace wevora::loader {

/// Which version of the bundle a running file manager has loaded.
enum class Holding {
  Nothing,    ///< it has not loaded the bundle
  Installed,  ///< the version that is installed
  Another,    ///< another version
};

/// A running file manager.
struct RunningHost {
  const SupportedHost* host = nullptr;
  pid_t process = 0;
  std::vector<std::string> command;  ///< its command line
  Holding holding = Holding::Nothing;
  std::optional<BundleVersion> version = std::nullopt;  ///< of the loaded bundle, if known
};

/// Finds the running file managers of the calling user's session, by the executables of processes
/// and the session bus address in their environment; that bus carries the request to quit.
///
/// The loaded version comes from the shared record that the bundle writes: its file is unlinked at
/// once, but the host keeps it mapped. When the record cannot be read, a process that maps the
/// installed library file has loaded the installed version.
/// Thread-safety: any thread.
/// Errors: processes that exit meanwhile, or that may not be inspected, are skipped.
class RunningHosts {
 public:
  /// `processes` is "/proc"; `library` is the installed library of the bundle.
  RunningHosts(std::string processes, std::string library, std::optional<BundleVersion> installed,
               std::string sessionBus)
      : processes_(std::move(processes)),
        library_(std::move(library)),
        installed_(installed),
        sessionBus_(std::move(sessionBus)) {}

  /// Sorted by process ID.
  std::vector<RunningHost> all() const;

 private:
  std::optional<RunningHost> hostOf(pid_t process) const;
  void readHolding(RunningHost& host) const;

  const std::string processes_;
  const std::string library_;
  const std::optional<BundleVersion> installed_;
  const std::string sessionBus_;  ///< its address
};

}  // namespace wevora::loader
