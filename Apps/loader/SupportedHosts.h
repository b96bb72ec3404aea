#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace wevora::loader {

/// A supported file manager, in one of its modes.
struct SupportedHost {
  std::string_view name;     ///< on the command line of wevora-loader
  std::string_view program;  ///< the name of its executable
  std::string_view mode;     ///< its first argument; may be empty
  std::string_view quit;     ///< the argument that makes a running process quit
  bool byQtPlugin = false;   ///< loaded through a Qt plug-in named in the environment
};

std::span<const SupportedHost> supportedHosts();
/// Returns null for an unknown name.
const SupportedHost* hostNamed(std::string_view name);
/// Finds a host by the name of its executable; returns null for any other program.
const SupportedHost* hostOfProgram(std::string_view program);

using Variables = std::map<std::string, std::string>;
/// The variables to set for a host, given the present ones: nothing, or Qt's two plug-in variables,
/// extended by ours. `pluginFolder` is the folder that contains "generic/".
Variables variablesFor(const SupportedHost& host, const std::string& pluginFolder,
                       const Variables& present);

/// The command line: the program, its mode, and `more`.
std::vector<std::string> commandOf(const SupportedHost& host, std::span<const std::string> more);

}  // namespace wevora::loader
