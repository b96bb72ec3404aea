#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "Apps/CommandLine/Program.h"
#include "CommonCode/Tools/WVRAppSupport/WVRAppSupport.h"
#include "Connector/DaemonConnectionNames.h"
#include "Platform/IPC/BusNotificationCenter.h"

namespace wevora::badges {
namespace {

constexpr int kDone = 0;
constexpr int kNotWritten = 1;
constexpr int kNotNotified = 3;

const command_line::Program& program() {
  static const command_line::Program program{
      .name = "wevora-badges",
      .summary = "Shows or hides the backup badges of the calling user.",
      .commands = {{.name = "on", .help = "show badges: write the setting, notify file managers"},
                   {.name = "off", .help = "hide badges: write the setting, notify file managers"},
                   {.name = "status", .help = "print \"on\" or \"off\""}},
      .sections = {{"Exit status",
                    {{"0", "done"},
                     {"1", "the setting could not be written"},
                     {"2", "usage error"},
                     {"3",
                      "the setting was written, but running file managers could not be notified: "
                      "they read it when they restart"}}}}};
  return program;
}

int complain(int status, std::string_view text) {
  std::cerr << "wevora-badges: " << text << "\n";
  return status;
}

bool isOn(WVRAppSupport& settings) {
  const auto value = settings.readKey(kFinderOverlayEnabledKey);
  return !value || value->boolValue();
}

bool notifyFileManagers() {
  platform::BusNotificationCenter center;
  return center.post({kFinderOverlayChanged, std::nullopt, {}}) && center.flush();
}

int notWritten(const WVRAppSupport& settings, const platform::InstalledPaths& paths) {
  const auto& path = settings.appSupportFilePath();
  if (path.empty())
    return complain(kNotWritten, "cannot write the setting: you have no home folder");
  return complain(kNotWritten, "cannot write '" + path +
                                   "': check that you may write it and, when it is missing, that "
                                   "its template '" +
                                   paths.translate(kDefaultAppSupportFilePath) + "' exists");
}

int switchBadges(bool on, WVRAppSupport& settings, const platform::InstalledPaths& paths) {
  const std::optional<platform::Value> wanted(std::in_place, on);
  settings.writeKey(kFinderOverlayEnabledKey, wanted);
  // writeKey does not report failure.
  if (settings.readKey(kFinderOverlayEnabledKey) != wanted) return notWritten(settings, paths);
  if (notifyFileManagers()) return kDone;
  return complain(kNotNotified,
                  "the setting is written, but there is no session bus to notify running file "
                  "managers: restart them");
}

int run(std::string_view command) {
  const auto paths = platform::InstalledPaths::shared();
  const auto settings = WVRAppSupport::initWith(nullptr, paths);
  if (command != "status") return switchBadges(command == "on", *settings, paths);
  std::cout << (isOn(*settings) ? "on\n" : "off\n");
  return kDone;
}

}  // namespace
}  // namespace wevora::badges

int main(int count, char** arguments) {
  using namespace wevora;
  return command_line::runProgram(
      badges::program(), count, arguments,
      [](const command_line::Arguments& parsed) { return badges::run(parsed.command); },
      badges::kNotWritten);
}
