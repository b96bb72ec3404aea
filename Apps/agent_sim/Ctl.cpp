#include "Apps/agent_sim/Ctl.h"

#include <memory>
#include <string>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/AgentOptions.h"
#include "Apps/agent_sim/Console.h"
#include "Apps/agent_sim/Control.h"
#include "Connector/DaemonConnectionNames.h"
#include "Platform/IPC/SocketConnections.h"

namespace wevora::agent_sim {
namespace {

constexpr int kNoAgent = 3;

/// A running agent that takes commands.
struct Reached {
  std::shared_ptr<platform::Connection> connection;
  std::shared_ptr<platform::RootProxy> root;
};

Reached reachedAt(platform::DistributedObjects& objects, const std::string& name) {
  Reached reached;
  const auto port = objects.portForName(name);
  if (port) reached.connection = objects.connectionWithSendPort(port);
  if (reached.connection) reached.root = reached.connection->rootProxy();
  if (reached.root && !reached.root->conformsToProtocol(controlProtocol())) reached.root = nullptr;
  return reached;
}

/// With no seed, the first agent that answers.
Reached reached(platform::DistributedObjects& objects, const CtlOptions& options) {
  const auto names = daemonConnectionNames(options.user);
  if (options.seed) return reachedAt(objects, names.at(*options.seed));
  for (const auto& name : names)
    if (auto found = reachedAt(objects, name); found.root) return found;
  return {};
}

bool follows(platform::RootProxy& agent, const CtlOptions& options) {
  const auto call = [&](const char* method, const platform::Array& arguments) {
    return agent.call(controlProtocol(), method, arguments).has_value();
  };
  if (options.command == "status")
    return call(kControlSetStatus, {std::int64_t{std::stoi(options.arguments[0])}});
  if (options.command == "account") return call(kControlSetAccount, {options.arguments[0]});
  if (options.command == "quit") return call(kControlQuit, {});
  const platform::Array paths(options.arguments.begin() + 1, options.arguments.end());
  return call(kControlPostEvent, {options.arguments[0], paths});
}

}  // namespace

int runCtl(std::span<const char* const> arguments) {
  const auto options = ctlOptions(arguments);
  platform::LocalNotificationCenter center;
  platform::SocketConnections objects(center);
  const auto agent = reached(objects, options);
  if (!agent.root) {
    complain("no agent of user " + options.user + " runs" +
             (options.seed ? " under seed " + std::to_string(*options.seed) : ""));
    return kNoAgent;
  }
  if (!follows(*agent.root, options)) throw Failure("the agent does not follow the command");
  return 0;
}

}  // namespace wevora::agent_sim
