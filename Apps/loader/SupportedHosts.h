#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace wevora::loader {

/// A file manager that the system has a host for, in one of the ways to start it.
/// Threads: a value. Owns: nothing. Errors: none.
struct SupportedHost {
  std::string_view name;     ///< as a person says it
  std::string_view program;  ///< the name of its executable
  std::string_view mode;     ///< an argument that comes first; may be empty
  std::string_view quit;     ///< the argument that asks a running one to quit
  bool byQtPlugin = false;   ///< whether its environment has to name the plug-in
};

std::span<const SupportedHost> supportedHosts();
/// Null for another name.
const SupportedHost* hostNamed(std::string_view name);
/// By the name of an executable; null for that of another program.
const SupportedHost* hostOfProgram(std::string_view program);

using Variables = std::map<std::string, std::string>;
/// What has to be in a host's environment, given what is there: nothing, or Qt's two variables,
/// which keep what they name already. The folder is that of the plug-in's kind's folder.
Variables variablesFor(const SupportedHost& host, const std::string& pluginFolder,
                       const Variables& present);

/// The program, its mode and these.
std::vector<std::string> commandOf(const SupportedHost& host, std::span<const std::string> more);

}  // namespace wevora::loader
