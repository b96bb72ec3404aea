#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Apps/CommandLine/Arguments.h"
#include "Apps/CommandLine/Program.h"

namespace wevora::agent_sim {

/// The command line of wevora-agent-sim.
const command_line::Program& agentProgram();

/// The options of `init` and `scan`.
struct VolumeOptions {
  std::string account;
  std::string volume;                 ///< an absolute mount point
  std::vector<std::string> included;  ///< folders, absolute or relative to the volume
  std::vector<std::string> excluded;

  static VolumeOptions from(const command_line::Arguments& arguments);
};

struct MarkOptions {
  std::string account;
  bool synchronized = false;
  std::vector<std::string> paths{};  ///< absolute

  static MarkOptions from(const command_line::Arguments& arguments);
};

/// The user is that of this process unless it is given.
struct ServeOptions {
  std::string account;
  std::string user{};
  std::uint32_t seed = 0;
  std::vector<std::string> volumes{};  ///< absolute mount points, each once
  double syncRate = 5;                 ///< files per second

  static ServeOptions from(const command_line::Arguments& arguments);
};

/// The user is that of this process unless it is given.
struct CtlOptions {
  std::string user{};
  std::optional<std::uint32_t> seed;
  std::string command;
  std::vector<std::string> arguments;  ///< paths are absolute

  static CtlOptions from(const command_line::Arguments& arguments);
};

// Each `from` throws UsageError, or Failure when this process has no user name.

}  // namespace wevora::agent_sim
