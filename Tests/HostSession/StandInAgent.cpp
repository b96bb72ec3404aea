#include "Tests/HostSession/StandInAgent.h"

#include <chrono>
#include <csignal>
#include <stdexcept>

namespace wevora::testing_host {
namespace {

constexpr std::chrono::seconds kTimeout{60};

void runSuccessfully(const std::vector<std::string>& command) {
  ChildProcess process(command);
  if (process.waitForExit(kTimeout) != 0)
    throw std::runtime_error(command.front() + " " + command.at(1) + ": " + process.errors());
}

}  // namespace

void agentTool(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {WEVORA_AGENT_SIM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  runSuccessfully(command);
}

void switchBadges(bool on) {
  runSuccessfully({WEVORA_BADGES, on ? "on" : "off"});
}

Agent::Agent(const std::string& account, const std::vector<std::string>& more) {
  std::vector<std::string> command = {WEVORA_AGENT_SIM, "serve", "--account", account};
  command.insert(command.end(), more.begin(), more.end());
  process_ = std::make_unique<ChildProcess>(command);
  if (!process_->waitForOutput("\n"))
    throw std::runtime_error("the agent does not start: " + process_->errors());
}

void Agent::report(const std::string& event, const std::vector<std::string>& paths) const {
  std::vector<std::string> command = {"ctl", "event", event};
  command.insert(command.end(), paths.begin(), paths.end());
  agentTool(command);
}

void Agent::kill() {
  process_->signal(SIGKILL);
  process_->waitForExit();
}

}  // namespace wevora::testing_host
