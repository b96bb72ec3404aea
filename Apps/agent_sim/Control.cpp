#include "Apps/agent_sim/Control.h"

#include "Connector/DaemonConnectionNames.h"

namespace wevora::agent_sim {
namespace {

using platform::Array;

bool isStatus(std::int64_t status) {
  return status >= CONNECTION_STATUS_DID_NOT_LOGGEDIN && status <= CONNECTION_STATUS_LOGGEDIN;
}

}  // namespace

const platform::WireProtocol& controlProtocol() {
  static const platform::WireProtocol protocol{"com.Wevora.AgentSim.Control", R"xml(<node>
  <interface name="com.Wevora.AgentSim.Control">
    <method name="setStatus">
      <arg name="status" direction="in" type="i"/>
    </method>
    <method name="setAccount">
      <arg name="account" direction="in" type="s"/>
    </method>
    <method name="postEvent">
      <arg name="word" direction="in" type="s"/>
      <arg name="paths" direction="in" type="as"/>
    </method>
    <method name="quit"/>
  </interface>
</node>)xml"};
  return protocol;
}

std::optional<Array> handleControlCall(Controlled& agent, const std::string& method,
                                       const Array& arguments) {
  const auto text = [&](std::size_t i) {
    const auto* held = i < arguments.size() ? arguments[i].as<std::string>() : nullptr;
    return held == nullptr ? std::string() : *held;
  };
  if (method == kControlSetStatus && arguments.size() == 1) {
    const auto status = arguments[0].longLongValue();
    if (!isStatus(status)) return std::nullopt;
    agent.setStatus(static_cast<std::int32_t>(status));
  } else if (method == kControlSetAccount && arguments.size() == 1) {
    if (!isAccountName(text(0))) return std::nullopt;
    agent.setAccount(text(0));
  } else if (method == kControlPostEvent && arguments.size() == 2) {
    agent.postEvent(text(0), platform::textsIn(arguments[1]));
  } else if (method == kControlQuit) {
    agent.quit();
  } else {
    return std::nullopt;
  }
  return Array();
}

bool isAccountName(const std::string& name) {
  return !name.empty() && name.find('/') == std::string::npos;
}

}  // namespace wevora::agent_sim
