#include <algorithm>
#include <iostream>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "CommonCode/Tools/WVRAppSupport/WVRAppSupport.h"
#include "Connector/DaemonConnectionNames.h"
#include "Platform/Base/Version.h"
#include "Platform/IPC/BusNotificationCenter.h"

namespace wevora::badges {
namespace {

constexpr const char* kUsage =
    "usage: wevora-badges on|off|status\n"
    "\n"
    "Shows or hides the backup badges of the user who calls it.\n"
    "\n"
    "  on, off    writes the setting, and tells the file managers that are running\n"
    "  status     prints \"on\" or \"off\"\n"
    "  --help, --version\n"
    "\n"
    "Exit status: 0 done, 1 the setting could not be written, 2 for a wrong call, 3 written, but\n"
    "running file managers could not be told: they follow when they start anew.\n";

constexpr int kDone = 0;
constexpr int kNotWritten = 1;
constexpr int kWrongUsage = 2;
constexpr int kNotTold = 3;

int complain(int status, std::string_view text) {
  std::cerr << "wevora-badges: " << text << "\n";
  return status;
}

bool isOn(WVRAppSupport& settings) {
  const auto value = settings.readKey(kFinderOverlayEnabledKey);
  return !value || value->boolValue();
}

bool tellFileManagers() {
  platform::BusNotificationCenter center;
  return center.post({kFinderOverlayChanged, std::nullopt, {}}) && center.flush();
}

int notWritten(const WVRAppSupport& settings, const platform::InstalledPaths& paths) {
  const auto& path = settings.appSupportFilePath();
  if (path.empty()) return complain(kNotWritten, "the calling user has no home folder");
  return complain(kNotWritten, path + " cannot be written (a missing one is made from " +
                                   paths.translate(kDefaultAppSupportFilePath) + ")");
}

int turn(bool on, WVRAppSupport& settings, const platform::InstalledPaths& paths) {
  const std::optional<platform::Value> wanted(std::in_place, on);
  settings.writeKey(kFinderOverlayEnabledKey, wanted);
  // A write tells nobody that it failed.
  if (settings.readKey(kFinderOverlayEnabledKey) != wanted) return notWritten(settings, paths);
  if (tellFileManagers()) return kDone;
  return complain(kNotTold,
                  "there is no session bus on which running file managers could be told; they "
                  "follow when they start anew");
}

int perform(std::string_view command) {
  const auto paths = platform::InstalledPaths::shared();
  const auto settings = WVRAppSupport::initWith(nullptr, paths);
  if (command != "status") return turn(command == "on", *settings, paths);
  std::cout << (isOn(*settings) ? "on\n" : "off\n");
  return kDone;
}

int run(std::span<const char* const> arguments) {
  const auto given = [&](std::string_view name) {
    return std::ranges::any_of(arguments, [&](std::string_view one) { return one == name; });
  };
  if (given("--help") || given("-h")) {
    std::cout << kUsage;
    return kDone;
  }
  if (given("--version")) {
    std::cout << "wevora-badges " << platform::productVersion() << "\n";
    return kDone;
  }
  if (arguments.size() == 1 && (given("on") || given("off") || given("status")))
    return perform(arguments.front());
  return complain(kWrongUsage, "say one of on, off and status (try --help)");
}

int runCatching(std::span<const char* const> arguments) {
  try {
    return run(arguments);
  } catch (const std::exception& failure) {
    return complain(kNotWritten, failure.what());
  }
}

}  // namespace
}  // namespace wevora::badges

int main(int count, char** arguments) {
  const std::span<const char* const> all(arguments, static_cast<std::size_t>(count));
  return wevora::badges::runCatching(all.subspan(count > 0 ? 1 : 0));
}
