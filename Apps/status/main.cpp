#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <span>

#include "Apps/status/StatusOptions.h"
#include "Apps/status/StatusRun.h"
#include "Connector/DaemonConnectionPort.h"
#include "FinderIntegration/finder_bundle/IPC/WVAgentConnector.h"
#include "Platform/Base/Version.h"
#include "Platform/Installation/LoginUser.h"
#include "Platform/System/SystemServices.h"
#include "WevoraAgent/WevoraAgent/Classes/Device/WVREventJournalEntry/NSDate+DBFormat.h"

namespace wevora::status {
namespace {

constexpr int kAnswered = 0;
constexpr int kUnreadable = 1;
constexpr int kWrongUsage = 2;
constexpr int kNoAgent = 3;

/// Lets the agent set the account and the switch; answers why it cannot, if so.
std::optional<std::string> followAgent(platform::SystemServices& services) {
  if (!portOfDaemonConnection(services.distributedObjects, platform::loginName()))
    return "no agent is running (--account ID asks without one)";
  WVAgentConnector::load();
  const auto& provider = WVIconProvider::defaultProvider();
  if (!provider.pool()->accountId()) return "the agent does not say whose backup it is";
  if (!provider.turnedOn())
    std::cerr << "wevora-status: badges are switched off (wevora-badges on)\n";
  return std::nullopt;
}

void followAccount(const std::string& account) {
  auto& provider = WVIconProvider::defaultProvider();
  provider.pool()->setAccountId(account);
  provider.setTurnedOn(true);
}

int run(const StatusOptions& options) {
  if (options.help) {
    std::cout << kUsage;
    return kAnswered;
  }
  if (options.version) {
    std::cout << "wevora-status " << platform::productVersion() << "\n";
    return kAnswered;
  }
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
  if (!options.watch) return allReadable ? kAnswered : kUnreadable;
  run.watch();
  return kAnswered;
}

int runCatching(int count, const char* const* arguments) {
  try {
    const std::span all(arguments, static_cast<std::size_t>(count));
    return run(StatusOptions::parse(all.subspan(count > 0 ? 1 : 0)));
  } catch (const WrongUsage& wrong) {
    std::cerr << "wevora-status: " << wrong.what() << " (try --help)\n";
  } catch (const std::exception& failure) {
    std::cerr << "wevora-status: " << failure.what() << "\n";
  }
  return kWrongUsage;
}

}  // namespace
}  // namespace wevora::status

int main(int count, char** arguments) {
  const int status = wevora::status::runCatching(count, arguments);
  std::cout.flush();
  std::fflush(nullptr);
  // The shared instances' threads may still run; nothing is torn down under them.
  std::_Exit(status);
}
