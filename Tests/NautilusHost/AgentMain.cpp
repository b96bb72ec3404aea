// The agent as the bundle sees it, for tests: serves one account until it is killed.

#include <iostream>

#include <glib.h>

#include "Connector/DaemonConnectionNames.h"
#include "Connector/DaemonConnectionService.h"
#include "Platform/DistributedNotifications/BusNotificationCenter.h"
#include "Platform/DistributedObjects/PublishedService.h"
#include "Platform/InstalledPaths/LoginUser.h"
#include "Tests/TestAgent/TestAgent.h"

int main(int count, char** arguments) {
  using namespace wevora;
  if (count != 2) return 2;
  testing_host::TestAgent agent;
  agent.account = testing_host::TestAgent::accountOf(arguments[1]);
  const auto service = platform::PublishedService::publish(
      daemonConnectionNameAndSeed(platform::loginName(), 0).value_or(""),
      daemonConnectionProtocol(),
      [&agent](const std::string& method, const platform::Array& values) {
        return answerOfDaemonConnection(agent, method, values);
      });
  if (!service) return 1;
  platform::BusNotificationCenter center;
  center.post({kIDaemonConnectionBecomeAvailableNotification, std::nullopt, {}});
  std::cout << "serving" << std::endl;
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
