#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Apps/CommandLine/Arguments.h"

namespace wevora::status {

using command_line::WrongUsage;

/// What a person asked for.
struct StatusOptions {
  using Format = command_line::Format;
  std::optional<std::string> account;  ///< none: the running agent's
  Format format = Format::text;
  bool recursive = false;
  bool watch = false;
  bool help = false;
  bool version = false;
  std::vector<std::string> paths;

  /// Throws WrongUsage.
  static StatusOptions parse(std::span<const char* const> arguments);
};

extern const char* const kUsage;

}  // namespace wevora::status
