#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "Tests/ChildProcess/ChildProcess.h"

namespace wevora::benchmarks {

/// Nanoseconds of the clock that all processes share.
inline std::int64_t sharedTime() {
  return std::chrono::steady_clock::now().time_since_epoch().count();
}

inline constexpr const char* kReady = "ready";
inline constexpr const char* kBareInterface = "com.Wevora.Benchmark";
inline constexpr const char* kBarePath = "/com/Wevora/Benchmark";
inline constexpr const char* kBarePing = "Ping";
inline constexpr const char* kBarePong = "Pong";

/// The bundle in a process of its own, with a window that shows one item. Whenever the item is
/// asked to draw and has a new word, the word and the shared time are written to standard output;
/// then all that the bundle remembers grows five seconds older, so that the next event reads it
/// anew, and kReady is written. A bare ping on the bus is answered with a bare pong.
/// Never returns but with an exit status.
int runBundle(const std::string& volume, const std::string& item);

}  // namespace wevora::benchmarks
