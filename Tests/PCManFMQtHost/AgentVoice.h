#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/IPC/BusNotificationCenter.h"

namespace wevora::testing_host {

/// Posts events in the name of an agent, which does not know them and so never reports them again.
/// Construct it before the agent: it takes the agent's object from the announcement.
/// Thread-safety: main thread only. Errors: post() throws where no agent announces itself.
class AgentVoice {
 public:
  AgentVoice();
  AgentVoice(const AgentVoice&) = delete;
  AgentVoice& operator=(const AgentVoice&) = delete;

  /// Returns when the bus has the event; false on failure.
  bool post(const std::string& event, const std::vector<std::string>& paths);

 private:
  void learnObject();

  platform::BusNotificationCenter center_;
  std::optional<std::string> object_;
  std::unique_ptr<platform::BusNotificationCenter::Observation> announcements_;
};

}  // namespace wevora::testing_host
