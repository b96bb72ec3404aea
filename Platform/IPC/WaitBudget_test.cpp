#include "Platform/IPC/WaitBudget.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/VirtualClock.h"

namespace wevora::platform {
namespace {

using std::chrono_literals::operator""h;
using std::chrono_literals::operator""min;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

class WaitBudgetTest : public testing::Test {
 protected:
  /// Advances the clock by the duration of a call and charges it.
  bool waitFor(std::chrono::milliseconds time) {
    clock->advance(time);
    return budget.charge(time);
  }
  const std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
  WaitBudget budget{2s, clock};
};

TEST_F(WaitBudgetTest, TheFirstCallMayUseTheWholeBudget) {
  EXPECT_EQ(budget.remaining(), 2s);
}

TEST_F(WaitBudgetTest, WaitsAccumulate) {
  EXPECT_TRUE(waitFor(1000ms));
  EXPECT_EQ(budget.remaining(), 1000ms);
  EXPECT_TRUE(waitFor(900ms));
  EXPECT_EQ(budget.remaining(), 130ms);  // a thirtieth of the second wait has been refilled
  EXPECT_FALSE(waitFor(200ms));
  EXPECT_EQ(budget.remaining(), budget.promptLimit());
}

TEST_F(WaitBudgetTest, AnyNumberOfPromptRepliesIsFree) {
  for (int i = 0; i < 100000; ++i) ASSERT_TRUE(waitFor(100ms)) << i;
  EXPECT_EQ(budget.remaining(), 2s);
}

TEST_F(WaitBudgetTest, AnOccasionallySlowPeerNeverExhaustsItsBudget) {
  for (int i = 0; i < 20000; ++i) {
    ASSERT_TRUE(waitFor(1500ms)) << i;
    clock->advance(1min);
  }
  clock->advance(1h);
  EXPECT_EQ(budget.remaining(), 2s);
}

}  // namespace
}  // namespace wevora::platform
