#include "Hosts/Common/FeedbackGuard.h"

#include <utility>

namespace wevora::hosts {

using namespace std::chrono_literals;

FeedbackGuard::FeedbackGuard(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

bool FeedbackGuard::beginRound() {
  if (closed_) return false;
  if (withinBounds()) return true;
  closed_ = true;
  dependencies_.runLater(dependencies_.report);
  return false;
}

bool FeedbackGuard::withinBounds() {
  if (roundsInIteration_ == 0) resetInNextIteration();
  if (++roundsInIteration_ > kMaxRoundsPerIteration) return false;
  const auto now = dependencies_.clock->uptime();
  auto& oldest = lastRounds_.at(rounds_ % kMaxRoundsPerSecond);
  if (rounds_ >= kMaxRoundsPerSecond && now - oldest < 1s) return false;
  oldest = now;
  ++rounds_;
  return true;
}

void FeedbackGuard::resetInNextIteration() {
  dependencies_.runLater([this, alive = std::weak_ptr(alive_)] {
    if (!alive.expired()) roundsInIteration_ = 0;
  });
}

}  // namespace wevora::hosts
