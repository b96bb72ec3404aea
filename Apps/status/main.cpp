#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>

#include "Apps/status/StatusOptions.h"
#include "Apps/status/StatusRun.h"
#include "Connector/DaemonConnectionPort.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "Platform/Installation/LoginUser.h"
#include "Platform/System/SystemServices.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora::status {
namespace {

constexpr int kDone = 0;
constexpr int kUnreadable = 1;
constexpr int kFailed = 2;
constexpr int kNoAgent = 3;

/// Takes the account and the switch from the running agent; returns the reason when it cannot.
std::optional<std::string> followAgent(platform::SystemServices& services) {
  if (!portOfDaemonConnection(services.distributedObjects, platform::loginName()))
    return "no agent is running (use --account ID to read an account without one)";
  WVAgentConnector::load();
  const auto& provider = WVIconProvider::defaultProvider();
  if (!provider.pool()->accountId())
    return "the agent does not report its account (use --account ID)";
  if (!provider.turnedOn())
    std::cerr << "wevora-status: badges are switched off (run 'wevora-badges on')\n";
  return std::nullopt;
}

void followAccount(const std::string& account) {
  auto& provider = WVIconProvider::defaultProvider();
  provider.pool()->setAccountId(account);
  provider.setTurnedOn(true);
}

int run(const StatusOptions& options) {
  loadNSDateDBFormat();
  auto& services = platform::SystemServices::shared();
  if (options.account) {
    followAccount(*options.account);
  } else if (const auto reason = followAgent(services)) {
    std::cerr << "wevora-status: " << *reason << "\n";
    return kNoAgent;
  }
  StatusRun run(options, services);
  const bool allReadable = run.printAll();
  if (!options.watch) return allReadable ? kDone : kUnreadable;
  run.watch();
  return kDone;
}

}  // namespace
}  // namespace wevora::status

int main(int count, char** arguments) {
  using namespace wevora;
  const int exitStatus = command_line::runProgram(
      status::statusProgram(), count, arguments,
      [](const command_line::Arguments& parsed) {
        return status::run(status::StatusOptions::from(parsed));
      },
      status::kFailed);
  std::cout.flush();
  std::fflush(nullptr);
  // The threads of the shared instances may still run: skip the destructors.
  std::_Exit(exitStatus);
}
