#pragma once

namespace wevora::testing_host {

/// The name under which the probe finds wevora_test_advance_clock in its process.
inline constexpr const char* kAdvanceClockFunction = "wevora_test_advance_clock";

}  // namespace wevora::testing_host

/// Sets the wall clock of this process forward. Thread-safety: any thread.
extern "C" [[gnu::visibility("default")]] void wevora_test_advance_clock(double seconds);
