#include "Apps/agent_sim/Ctl.h"

#include <memory>
#include <string>

#include "Apps/agent_sim/AgentDatabase.h"
#include "Apps/agent_sim/Console.h"
#include "Apps/agent_sim/Control.h"
#include "Connector/DaemonConnectionNames.h"
#include "Platform/IPC/SocketConnections.h"

namespace wevora::agent_sim {
namespace {

constexpr int kNoAgent = 3;

/// A running agent that accepts commands; `root` is null when there is none.
struct Peer {
  std::shared_ptr<platform::Connection> connection;
  std::shared_ptr<platform::RootProxy> root;
};

Peer peerAt(platform::DistributedObjects& objects, const std::string& name) {
  Peer peer;
  const auto port = objects.portForName(name);
  if (port) peer.connection = objects.connectionWithSendPort(port);
  if (peer.connection) peer.root = peer.connection->rootProxy();
  if (peer.root && !peer.root->conformsToProtocol(controlProtocol())) peer.root = nullptr;
  return peer;
}

/// Without a seed, the first agent that responds.
Peer findPeer(platform::DistributedObjects& objects, const CtlOptions& options) {
  const auto names = daemonConnectionNames(options.user);
  if (options.seed) return peerAt(objects, names.at(*options.seed));
  for (const auto& name : names)
    if (auto found = peerAt(objects, name); found.root) return found;
  return {};
}

bool execute(platform::RootProxy& agent, const CtlOptions& options) {
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

int runCtl(const CtlOptions& options) {
  platform::LocalNotificationCenter center;
  platform::SocketConnections objects(center);
  const auto agent = findPeer(objects, options);
  if (!agent.root) {
    complain("no agent of user " + options.user + " is running" +
             (options.seed ? " with seed " + std::to_string(*options.seed) : "") +
             " (start one with 'wevora-agent-sim serve')");
    return kNoAgent;
  }
  if (!execute(*agent.root, options)) throw Failure("the agent rejected '" + options.command + "'");
  return 0;
}

}  // namespace wevora::agent_sim
