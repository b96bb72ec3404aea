#include "Hosts/Common/FeedbackGuard.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/Doubles/VirtualClock.h"

namespace wevora::hosts {
namespace {

using namespace std::chrono_literals;

class FeedbackGuardTest : public testing::Test {
 protected:
  std::unique_ptr<FeedbackGuard> make() {
    return std::make_unique<FeedbackGuard>(FeedbackGuard::Dependencies{
        clock, [this](std::function<void()> call) { later.push_back(std::move(call)); },
        [this] { ++reports; }});
  }
  void nextIteration() {
    for (const auto& call : std::exchange(later, {})) call();
  }

  std::shared_ptr<platform::VirtualClock> clock = std::make_shared<platform::VirtualClock>();
  std::vector<std::function<void()>> later;
  int reports = 0;
  std::unique_ptr<FeedbackGuard> guard = make();
};

TEST_F(FeedbackGuardTest, TheFourthRoundInOneIterationClosesItAndIsReportedOnceLater) {
  for (int round = 0; round < 3; ++round) EXPECT_TRUE(guard->beginRound()) << round;
  EXPECT_FALSE(guard->beginRound());
  EXPECT_EQ(reports, 0);
  nextIteration();
  EXPECT_EQ(reports, 1);
  EXPECT_FALSE(guard->beginRound());
  nextIteration();
  EXPECT_EQ(reports, 1);
}

TEST_F(FeedbackGuardTest, EachIterationAllowsThreeRoundsAgain) {
  for (int iteration = 0; iteration < 100; ++iteration) {
    for (int round = 0; round < 3; ++round) ASSERT_TRUE(guard->beginRound()) << iteration;
    nextIteration();
    clock->advance(200ms);
  }
  EXPECT_FALSE(guard->isClosed());
}

TEST_F(FeedbackGuardTest, TheTwentyFirstRoundInOneSecondClosesItHoweverManyIterationsPass) {
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(guard->beginRound()) << round;
    nextIteration();
    clock->advance(49ms);
  }
  EXPECT_FALSE(guard->beginRound());
  nextIteration();
  EXPECT_EQ(reports, 1);
}

TEST_F(FeedbackGuardTest, TwentyRoundsASecondAreAllowedForever) {
  for (int round = 0; round < 1000; ++round) {
    ASSERT_TRUE(guard->beginRound()) << round;
    nextIteration();
    clock->advance(50ms);
  }
  EXPECT_EQ(reports, 0);
}

TEST_F(FeedbackGuardTest, ItMayBeDestroyedBeforeTheNextIteration) {
  EXPECT_TRUE(guard->beginRound());
  guard.reset();
  nextIteration();
  EXPECT_EQ(reports, 0);
}

}  // namespace
}  // namespace wevora::hosts
