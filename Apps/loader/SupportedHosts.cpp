#include "Apps/loader/SupportedHosts.h"

#include <algorithm>
#include <array>

namespace wevora::loader {
namespace {

constexpr std::array kHosts{
    SupportedHost{"nautilus", "nautilus", "", "--quit", false},
    SupportedHost{"pcmanfm-qt", "pcmanfm-qt", "", "--quit", true},
    SupportedHost{"pcmanfm-qt-desktop", "pcmanfm-qt", "--desktop", "--quit", true},
};

constexpr const char* kPluginPath = "QT_PLUGIN_PATH";
constexpr const char* kPlugins = "QT_QPA_GENERIC_PLUGINS";
constexpr const char* kPlugin = "wevora";

/// Prepends the entry to a list unless it is already there.
std::string listWith(const std::string& list, const std::string& entry, char between) {
  if (list.empty()) return entry;
  const std::string bounded = between + list + between;
  return bounded.find(between + entry + between) != std::string::npos ? list
                                                                      : entry + between + list;
}

std::string valueOf(const Variables& variables, const char* name) {
  const auto found = variables.find(name);
  return found == variables.end() ? std::string() : found->second;
}

}  // namespace

std::span<const SupportedHost> supportedHosts() {
  return kHosts;
}

const SupportedHost* hostNamed(std::string_view name) {
  const auto* found = std::ranges::find(kHosts, name, &SupportedHost::name);
  return found == kHosts.end() ? nullptr : found;
}

const SupportedHost* hostOfProgram(std::string_view program) {
  const auto* found = std::ranges::find(kHosts, program, &SupportedHost::program);
  return found == kHosts.end() ? nullptr : found;
}

Variables variablesFor(const SupportedHost& host, const std::string& pluginFolder,
                       const Variables& present) {
  if (!host.byQtPlugin) return {};
  return {{kPluginPath, listWith(valueOf(present, kPluginPath), pluginFolder, ':')},
          {kPlugins, listWith(valueOf(present, kPlugins), kPlugin, ',')}};
}

std::vector<std::string> commandOf(const SupportedHost& host, std::span<const std::string> more) {
  std::vector<std::string> command = {std::string(host.program)};
  if (!host.mode.empty()) command.emplace_back(host.mode);
  command.insert(command.end(), more.begin(), more.end());
  return command;
}

}  // namespace wevora::loader
