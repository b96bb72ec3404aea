#pragma once

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Tests/ChildProcess/ChildProcess.h"

namespace wevora::testing_host {

/// Runs "wevora-agent-sim" to its end; throws where it fails.
void agentTool(const std::vector<std::string>& arguments);

/// Runs "wevora-badges on" or "off"; throws where it fails.
void switchBadges(bool on);

/// The stand-in agent, "wevora-agent-sim serve", as a process.
/// Threads: one. Owns: the process. Errors: throws where it does not come up.
class Agent {
 public:
  explicit Agent(const std::string& account, const std::vector<std::string>& more = {});
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  /// Has it tell of what has happened at these paths.
  void tell(const std::string& event, const std::vector<std::string>& paths) const;
  void kill();
  pid_t pid() const noexcept { return process_->pid(); }

 private:
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace wevora::testing_host
