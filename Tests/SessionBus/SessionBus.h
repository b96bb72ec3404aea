#pragma once

#include <memory>
#include <string>

#include "Platform/Support/TemporaryFolder.h"
#include "Tests/SessionBus/ChildProcess.h"

namespace wevora::testing_host {

/// A session bus of a test's own, which the processes that the test starts find as theirs.
/// Threads: one. Owns: the bus's process and its folder; sets DBUS_SESSION_BUS_ADDRESS.
/// Errors: without a bus the address is "".
class SessionBus {
 public:
  SessionBus();
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  const std::string& address() const { return address_; }
  /// The bus goes away, as at the end of a session.
  void end();

  /// A program that prints every notification, a line each; it listens when this returns.
  std::unique_ptr<ChildProcess> observer() const;

 private:
  platform::TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> daemon_;
  std::string address_;
};

}  // namespace wevora::testing_host
