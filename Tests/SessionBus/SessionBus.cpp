#include "Tests/SessionBus/SessionBus.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace wevora::testing_host {

SessionBus::Variable::Variable(std::string name, const std::string& value)
    : name_(std::move(name)) {
  if (const char* before = std::getenv(name_.c_str())) before_ = before;
  ::setenv(name_.c_str(), value.c_str(), 1);
}

SessionBus::Variable::~Variable() {
  if (before_)
    ::setenv(name_.c_str(), before_->c_str(), 1);
  else
    ::unsetenv(name_.c_str());
}

SessionBus::SessionBus() {
  start();
}

SessionBus::~SessionBus() = default;

void SessionBus::start() {
  daemon_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--nopidfile", "--nosyslog",
                               "--print-address", "--address=" + address_});
  if (!daemon_->waitForOutput("\n"))
    throw std::runtime_error("dbus-daemon does not start: " + daemon_->errors());
}

}  // namespace wevora::testing_host
