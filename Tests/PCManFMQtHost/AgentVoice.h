#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/IPC/BusNotificationCenter.h"

namespace wevora::testing_host {

/// Posts events in the name of an agent, which itself knows nothing of them and so never tells of
/// them again. Make it before the agent: it learns the agent's object from what that announces.
/// Threads: the main thread. Owns: its road to the bus. Errors: throws where no agent announces
/// itself.
class AgentVoice {
 public:
  AgentVoice();
  AgentVoice(const AgentVoice&) = delete;
  AgentVoice& operator=(const AgentVoice&) = delete;

  /// On its way to the file manager when it comes back; false where it is not.
  bool post(const std::string& event, const std::vector<std::string>& paths);

 private:
  void learnObject();

  platform::BusNotificationCenter center_;
  std::optional<std::string> object_;
  std::unique_ptr<platform::BusNotificationCenter::Observation> announcements_;
};

}  // namespace wevora::testing_host
