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

/// The commands of wevora-loader. Each returns the exit status.
/// Errors: printed in one line on the error stream.
class Loader {
 public:
  static constexpr int kDone = 0;
  static constexpr int kNotStarted = 1;
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
  explicit Loader(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

  int start(const SupportedHost& host, std::span<const std::string> more);
  int status();
  int restart();

 private:
  int complain(int status, const std::string& text);
  bool restart(const RunningHost& running);

  const Dependencies dependencies_;
};

}  // namespace wevora::loader
