#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/IPC/DistributedObjects.h"

namespace wevora::agent_sim {

inline constexpr const char* kControlSetStatus = "setStatus";
inline constexpr const char* kControlSetAccount = "setAccount";
inline constexpr const char* kControlPostEvent = "postEvent";
inline constexpr const char* kControlQuit = "quit";

/// The protocol of `wevora-agent-sim ctl`, served next to the agent's own.
const platform::WireProtocol& controlProtocol();

/// The commands that a running agent executes.
class Controlled {
 public:
  virtual ~Controlled() = default;
  virtual void setStatus(std::int32_t status) = 0;
  virtual void setAccount(const std::string& account) = 0;
  virtual void postEvent(const std::string& word, const std::vector<std::string>& paths) = 0;
  virtual void quit() = 0;
};

/// Handles a method call of the protocol. Returns its reply; nullopt when the call is invalid.
std::optional<platform::Array> handleControlCall(Controlled& agent, const std::string& method,
                                                 const platform::Array& arguments);

/// Whether an account may have this name, which becomes part of a file name.
bool isAccountName(const std::string& name);

}  // namespace wevora::agent_sim
