#pragma once

#include <memory>

namespace wevora::testing_host {

/// The running session that the tests of one suite share. A test that changes more of a session
/// than the badges, the windows and the agent uses its own instead.
template <class View>
class SharedSession {
 public:
  /// Started when it is first needed.
  static typename View::Session& get() {
    if (!session_) session_ = View::start();
    return *session_;
  }
  /// The next test gets a new one: after the last test of a suite, and after a failure.
  static void end() { session_.reset(); }

 private:
  inline static std::unique_ptr<typename View::Session> session_;
};

}  // namespace wevora::testing_host
