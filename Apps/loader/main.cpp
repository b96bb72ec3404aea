#include <iostream>
#include <span>
#include <string>
#include <unistd.h>
#include <vector>

#include "Apps/loader/Loader.h"
#include "Platform/Base/Version.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora::loader {
namespace {

constexpr const char* kLibrary =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Linux/finder_bundle.so";
constexpr const char* kPluginFolder = "/Library/Wevora/FinderPlugin/Hosts/qt5";

Variables environmentOfThis() {
  Variables all;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const auto equals = text.find('=');
    if (equals != std::string::npos) all.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return all;
}

int wrong() {
  std::cerr << "wevora-loader: say nautilus, pcmanfm-qt, pcmanfm-qt-desktop, --status or --restart "
               "(try --help)\n";
  return Loader::kWrongUsage;
}

int run(const std::vector<std::string>& words) {
  const std::string first = words.empty() ? "" : words.front();
  if (first == "--help" || first == "-h") {
    std::cout << kUsage;
    return Loader::kDone;
  }
  if (first == "--version") {
    std::cout << "wevora-loader " << platform::productVersion() << "\n";
    return Loader::kDone;
  }
  const auto paths = platform::InstalledPaths::shared();
  MachineProcesses processes;
  const auto installed = installedVersion(paths);
  const Variables environment = environmentOfThis();
  const auto bus = environment.find("DBUS_SESSION_BUS_ADDRESS");
  const RunningHosts running("/proc", paths.translate(kLibrary), installed,
                             bus == environment.end() ? "" : bus->second);
  Loader loader({.processes = processes,
                 .running = [&] { return running.all(); },
                 .installed = installed,
                 .pluginFolder = paths.translate(kPluginFolder),
                 .environment = environment,
                 .out = std::cout,
                 .errors = std::cerr});
  if (words.size() == 1 && first == "--status") return loader.status();
  if (words.size() == 1 && first == "--restart") return loader.restart();
  const auto* host = hostNamed(first);
  return host == nullptr ? wrong() : loader.start(*host, std::span(words).subspan(1));
}

}  // namespace
}  // namespace wevora::loader

int main(int count, char** arguments) {
  try {
    return wevora::loader::run({arguments + (count > 0 ? 1 : 0), arguments + count});
  } catch (const std::exception& failure) {
    std::cerr << "wevora-loader: " << failure.what() << "\n";
    return wevora::loader::Loader::kNotStarted;
  }
}
