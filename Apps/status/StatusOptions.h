#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Apps/CommandLine/Arguments.h"
#include "Apps/CommandLine/Program.h"

namespace wevora::status {

using command_line::UsageError;

/// The command line of wevora-status.
const command_line::Program& statusProgram();

struct StatusOptions {
  using Format = command_line::Format;
  std::optional<std::string> account;  ///< nullopt: the running agent's
  Format format = Format::text;
  bool recursive = false;
  bool watch = false;
  std::vector<std::string> paths;

  /// Throws UsageError.
  static StatusOptions from(const command_line::Arguments& arguments);
};

}  // namespace wevora::status
