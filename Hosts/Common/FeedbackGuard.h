#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "Platform/Base/Clock.h"

namespace wevora::hosts {

/// Bounds how often a change of the host's widget follows a notification about that widget: a host
/// may react to each change with another notification, and the two would never end.
/// Thread-safety: the main thread only.
class FeedbackGuard {
 public:
  static constexpr int kMaxRoundsPerIteration = 3;  ///< of the main loop
  static constexpr std::size_t kMaxRoundsPerSecond = 20;

  struct Dependencies {
    std::shared_ptr<const platform::Clock> clock = std::make_shared<platform::SystemClock>();
    /// Runs a function in a later iteration of the main loop.
    std::function<void(std::function<void()>)> runLater;
    /// Called once, in a later iteration, when the guard has closed.
    std::function<void()> report;
  };

  explicit FeedbackGuard(Dependencies dependencies);
  FeedbackGuard(const FeedbackGuard&) = delete;
  FeedbackGuard& operator=(const FeedbackGuard&) = delete;

  /// Whether one more round is allowed; false forever once a bound was exceeded.
  bool beginRound();
  bool isClosed() const noexcept { return closed_; }

 private:
  bool withinBounds();
  void resetInNextIteration();

  const Dependencies dependencies_;
  int roundsInIteration_ = 0;
  std::array<std::chrono::nanoseconds, kMaxRoundsPerSecond> lastRounds_{};  ///< a ring
  std::size_t rounds_ = 0;
  bool closed_ = false;
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace wevora::hosts
