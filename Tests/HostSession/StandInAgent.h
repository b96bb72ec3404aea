#pragma once

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Tests/ChildProcess/ChildProcess.h"

namespace wevora::testing_host {

/// Runs "wevora-agent-sim" to its end; throws when it fails.
void agentTool(const std::vector<std::string>& arguments);

/// Runs "wevora-badges on" or "off"; throws when it fails.
void switchBadges(bool on);

/// The test agent, "wevora-agent-sim serve", as a process.
/// Ownership: the process, which is killed when the object is destroyed.
/// Errors: throws when it does not start.
class Agent {
 public:
  explicit Agent(const std::string& account, const std::vector<std::string>& more = {});
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  /// Makes it report an event at these paths.
  void report(const std::string& event, const std::vector<std::string>& paths) const;
  void kill();
  pid_t pid() const noexcept { return process_->pid(); }

 private:
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace wevora::testing_host
