#include "Tests/SessionBus/SessionBus.h"

#include <cstdlib>
#include <fstream>

namespace wevora::testing_host {
namespace {

constexpr const char* kEverythingIsAllowed =
    "<busconfig><type>session</type><auth>EXTERNAL</auth><policy context='default'>"
    "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/><allow own='*'/>"
    "</policy>";

}  // namespace

SessionBus::SessionBus() {
  const std::string config = folder_.path("bus.conf");
  std::ofstream(config) << kEverythingIsAllowed << "<listen>unix:path=" << folder_.path("bus")
                        << "</listen></busconfig>";
  daemon_ = std::make_unique<ChildProcess>(std::vector<std::string>{
      "dbus-daemon", "--config-file=" + config, "--nofork", "--nopidfile", "--print-address"});
  address_ = daemon_->line();
  ::setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
}

SessionBus::~SessionBus() {
  ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

void SessionBus::end() {
  daemon_->end();
}

std::unique_ptr<ChildProcess> SessionBus::observer() const {
  auto observer = std::make_unique<ChildProcess>(std::vector<std::string>{
      "dbus-monitor", "--address", address_,
      "type='signal',interface='com.Wevora.DistributedNotificationCenter'"});
  // The bus takes a monitor's name away: from then on it hears.
  observer->lineWith("member=NameLost");
  observer->line();
  return observer;
}

}  // namespace wevora::testing_host
