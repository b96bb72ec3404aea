#include "Tests/SessionBus/SessionBus.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace wevora::testing_host {
namespace {

// The standard session bus without its service folders. With them, a file manager that asks for a
// name would start the services that happen to be installed (the file indexer, the key ring, the
// portals, dconf), and what a test sees would depend on the machine.
constexpr const char* kConfiguration = R"xml(
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:tmpdir=/tmp</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">1000000000</limit>
  <limit name="auth_timeout">240000</limit>
  <limit name="max_completed_connections">100000</limit>
  <limit name="max_incomplete_connections">10000</limit>
  <limit name="max_connections_per_user">100000</limit>
  <limit name="max_names_per_connection">50000</limit>
  <limit name="max_match_rules_per_connection">50000</limit>
  <limit name="max_replies_per_connection">50000</limit>
</busconfig>)xml";

}  // namespace

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
  const std::string configuration = folder_.path("bus.conf");
  std::ofstream(configuration) << kConfiguration + 1;  // the declaration comes first
  daemon_ = std::make_unique<ChildProcess>(std::vector<std::string>{
      "dbus-daemon", "--config-file=" + configuration, "--nofork", "--nopidfile", "--nosyslog",
      "--print-address", "--address=" + address_});
  if (!daemon_->waitForOutput("\n"))
    throw std::runtime_error("dbus-daemon does not start: " + daemon_->errors());
}

}  // namespace wevora::testing_host
