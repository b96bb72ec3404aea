// Preloaded into a file manager: its wall clock, which a test can set forward. The badge engine
// does not read a state again that is younger than four seconds; a test that changes one would
// otherwise wait that long. Timers run on the monotonic clock and are not affected, and neither is
// any other process.

#include "Tests/HostSession/ShiftedClock.h"

#include <atomic>
#include <chrono>
#include <ctime>

namespace {

std::atomic<std::chrono::nanoseconds::rep> shift = 0;

}  // namespace

void wevora_test_advance_clock(double seconds) {
  shift +=
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds))
          .count();
}

// In place of the one of the standard library, which is a function of its shared library.
// NOLINTNEXTLINE(cert-dcl58-cpp): replaced, not added
std::chrono::system_clock::time_point std::chrono::system_clock::now() noexcept {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return time_point(duration_cast<duration>(seconds(now.tv_sec) + nanoseconds(now.tv_nsec) +
                                            nanoseconds(shift.load())));
}
