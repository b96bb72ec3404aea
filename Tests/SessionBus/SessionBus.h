#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::testing_host {

/// A private dbus-daemon, which starts no services, and runtime folder for a test. Sets
/// DBUS_SESSION_BUS_ADDRESS, XDG_RUNTIME_DIR and GIO_MODULE_DIR for this process and its children
/// until destroyed.
/// GLib caches XDG_RUNTIME_DIR, so create the bus before the first use of GLib's runtime folder.
/// Errors: throws if the bus does not start.
class SessionBus {
 public:
  SessionBus();
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  const std::string& address() const noexcept { return address_; }
  const std::string& runtimeFolder() const noexcept { return folder_.path(); }
  /// Stops the bus; its address stays in the environment.
  void stop() { daemon_.reset(); }
  /// Starts a new bus at the same address.
  void start();

 private:
  /// Sets an environment variable; the destructor restores it.
  class Variable {
   public:
    Variable(std::string name, const std::string& value);
    ~Variable();
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

   private:
    std::string name_;
    std::optional<std::string> before_;
  };

  platform::TemporaryFolder folder_;
  std::string address_ = "unix:path=" + folder_.path("bus");
  std::unique_ptr<ChildProcess> daemon_;
  Variable busVariable_{"DBUS_SESSION_BUS_ADDRESS", address_};
  Variable folderVariable_{"XDG_RUNTIME_DIR", folder_.path()};
  // GVfs's modules for GIO would ask the bus for services that it does not start, and complain.
  Variable modulesVariable_{"GIO_MODULE_DIR", folder_.path("no-modules")};
};

}  // namespace wevora::testing_host
