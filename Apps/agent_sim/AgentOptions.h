#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace wevora::agent_sim {

/// What `serve` was called with.
struct ServeOptions {
  std::string account;
  std::string user;
  std::uint32_t seed = 0;
  std::vector<std::string> volumes;  ///< absolute mount points, each once
  double syncRate = 5;               ///< files a second
};

/// What `ctl` was called with.
struct CtlOptions {
  std::string user;
  std::optional<std::uint32_t> seed;
  std::string command;
  std::vector<std::string> arguments;  ///< paths are absolute
};

/// Throw WrongUsage. The user is the one of this process where none is given.
ServeOptions serveOptions(std::span<const char* const> arguments);
CtlOptions ctlOptions(std::span<const char* const> arguments);

}  // namespace wevora::agent_sim
