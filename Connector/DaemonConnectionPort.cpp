#include "Connector/DaemonConnectionPort.h"

#include "Connector/DaemonConnectionNames.h"

namespace wevora {

std::shared_ptr<platform::SendPort> portOfDaemonConnection(
    platform::DistributedObjects& objects, const std::optional<std::string>& userName) {
  for (const auto& name : daemonConnectionNames(userName))
    if (auto port = objects.portForName(name)) return port;
  return nullptr;
}

}  // namespace wevora
