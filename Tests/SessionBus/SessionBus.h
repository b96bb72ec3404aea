#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Tests/ChildProcess/ChildProcess.h"
#include "Tests/Doubles/TemporaryFolder.h"

namespace wevora::testing_host {

/// A session bus of its own, which starts no services. This process and the children that it starts
/// find it, and a runtime folder of its own, in DBUS_SESSION_BUS_ADDRESS and XDG_RUNTIME_DIR. (GLib
/// asks for the latter once in a process: make it first.) Threads: one. Owns: the bus's process,
/// the folder, and the two variables until destroyed. Errors: throws where the bus does not come
/// up.
class SessionBus {
 public:
  SessionBus();
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  const std::string& address() const noexcept { return address_; }
  const std::string& runtimeFolder() const noexcept { return folder_.path(); }
  /// The bus goes away; its address stays in the environment.
  void stop() { daemon_.reset(); }
  /// A bus comes, at the same address.
  void start();

 private:
  /// A variable of the environment, put back as it was.
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
};

}  // namespace wevora::testing_host
