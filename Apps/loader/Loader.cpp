#include "Apps/loader/Loader.h"

#include <algorithm>
#include <ostream>

namespace wevora::loader {
namespace {

constexpr std::chrono::seconds kQuitTimeout{20};

std::string textOf(const BundleVersion& version) {
  return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
         std::to_string(version.patch);
}

std::string nameOf(const RunningHost& running) {
  return std::string(running.host->name) + " (process " + std::to_string(running.process) + ")";
}

std::string stateOf(const RunningHost& running) {
  if (running.holding == Holding::Nothing) return "runs without the bundle";
  const std::string held =
      running.version ? "version " + textOf(*running.version) : "another version";
  return "holds " + held + (running.holding == Holding::Installed ? ", as installed" : "");
}

}  // namespace

int Loader::complain(int status, const std::string& text) {
  dependencies_.errors << "wevora-loader: " << text << "\n";
  return status;
}

// A second process of a file manager passes its arguments to the running one and exits.
int Loader::start(const SupportedHost& host, std::span<const std::string> more) {
  if (!dependencies_.installed) return complain(kNotStarted, "the bundle is not installed");
  for (const auto& running : dependencies_.running()) {
    if (running.host->program != host.program) continue;
    if (running.holding == Holding::Nothing)
      complain(kDone, nameOf(running) +
                          " runs without the bundle; what it opens has no badges "
                          "until it is quit (" +
                          std::string(host.program) + " " + std::string(host.quit) + ")");
    if (running.holding == Holding::Another)
      complain(kDone, nameOf(running) + " " + stateOf(running) +
                          "; wevora-loader --restart starts it with the installed one");
  }
  const auto command = commandOf(host, more);
  dependencies_.processes.become(
      command, variablesFor(host, dependencies_.pluginFolder, dependencies_.environment));
  return complain(kNotStarted, command.front() + " cannot be started; is it installed?");
}

int Loader::status() {
  if (dependencies_.installed)
    dependencies_.out << "installed: version " << textOf(*dependencies_.installed) << "\n";
  else
    dependencies_.out << "installed: none\n";
  const auto all = dependencies_.running();
  for (const auto& running : all)
    dependencies_.out << nameOf(running) << ": " << stateOf(running) << "\n";
  if (all.empty()) dependencies_.out << "no supported file manager is running\n";
  const bool another = std::ranges::any_of(
      all, [](const auto& running) { return running.holding == Holding::Another; });
  return another ? kAnotherVersion : kDone;
}

int Loader::restart() {
  if (!dependencies_.installed) return complain(kNotStarted, "the bundle is not installed");
  int worst = kDone;
  bool any = false;
  for (const auto& running : dependencies_.running()) {
    if (running.holding != Holding::Another) continue;
    any = true;
    if (!restart(running)) worst = kNotQuit;
  }
  if (!any) dependencies_.out << "no file manager holds another version than the installed one\n";
  return worst;
}

bool Loader::restart(const RunningHost& running) {
  const auto& host = *running.host;
  dependencies_.processes.start({std::string(host.program), std::string(host.quit)}, {});
  if (!dependencies_.processes.ends(running.process, kQuitTimeout)) {
    complain(kNotQuit,
             nameOf(running) + " was asked to quit and has not; close its windows and try again");
    return false;
  }
  std::vector<std::string> command = running.command;
  command.front() = std::string(host.program);
  const auto variables = variablesFor(host, dependencies_.pluginFolder, dependencies_.environment);
  if (!dependencies_.processes.start(command, variables)) {
    complain(kNotStarted, nameOf(running) + " has quit but cannot be started again");
    return false;
  }
  dependencies_.out << nameOf(running) << ": started again\n";
  return true;
}

}  // namespace wevora::loader
