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

/// How a person's commands reach a running agent: a protocol of its own at the agent's service.
const platform::WireProtocol& controlProtocol();

/// What a running agent does on command.
class Controlled {
 public:
  virtual ~Controlled() = default;
  virtual void setStatus(std::int32_t status) = 0;
  virtual void setAccount(const std::string& account) = 0;
  virtual void postEvent(const std::string& word, const std::vector<std::string>& paths) = 0;
  virtual void quit() = 0;
};

/// Answers a method of the protocol; none where the command cannot be followed.
std::optional<platform::Array> answerOfControl(Controlled& agent, const std::string& method,
                                               const platform::Array& arguments);

/// Whether an account may have this name: it becomes part of a file's.
bool isAccountName(const std::string& name);

}  // namespace wevora::agent_sim
