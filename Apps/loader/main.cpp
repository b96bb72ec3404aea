#include <iostream>
#include <string>
#include <unistd.h>

#include "Apps/CommandLine/Program.h"
#include "Apps/loader/Loader.h"
#include "Platform/Installation/InstalledPaths.h"

namespace wevora::loader {
namespace {

constexpr const char* kLibrary =
    "/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/Linux/finder_bundle.so";
constexpr const char* kPluginFolder = "/Library/Wevora/FinderPlugin/Hosts/qt5";

command_line::Program program() {
  command_line::Program program{
      .name = "wevora-loader",
      .summary =
          "Starts a file manager with backup badges, or manages the running ones of this "
          "session.",
      .commands = {},
      .sections = {{"Exit status",
                    {{"0", "done; with --status: no file manager has another version loaded"},
                     {"1", "the file manager could not be started"},
                     {"2", "usage error"},
                     {"3", "--status: a file manager has another version loaded"},
                     {"4", "--restart: a file manager did not quit"}}}}};
  for (const auto& host : supportedHosts())
    program.commands.push_back(
        {.name = host.name,
         .operands = {"[ARGUMENT]...", 0, command_line::Operands::kAnyNumber},
         .help = "start this file manager with these arguments",
         .verbatim = true});
  program.commands.push_back(
      {.name = "--status",
       .help = "print which version of the badges each running file manager has loaded"});
  program.commands.push_back(
      {.name = "--restart",
       .help = "ask file managers that have another version loaded to quit, and start them "
               "again; a process is never killed"});
  return program;
}

Variables environmentOfThis() {
  Variables all;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const auto equals = text.find('=');
    if (equals != std::string::npos) all.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return all;
}

int run(const command_line::Arguments& arguments) {
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
  if (arguments.command == "--status") return loader.status();
  if (arguments.command == "--restart") return loader.restart();
  return loader.start(*hostNamed(arguments.command), arguments.operands);
}

}  // namespace
}  // namespace wevora::loader

int main(int count, char** arguments) {
  using namespace wevora;
  return command_line::runProgram(loader::program(), count, arguments, loader::run,
                                  loader::Loader::kNotStarted);
}
