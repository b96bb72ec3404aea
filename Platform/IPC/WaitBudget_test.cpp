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
  /// Waits for an answer.
  bool bears(std::chrono::milliseconds time) {
    clock->advance(time);
    return patience.bears(time);
  }
  const std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
  WaitBudget patience{2s, clock};
};

TEST_F(WaitBudgetTest, TheFirstWaitMayTakeAllOfIt) {
  EXPECT_EQ(patience.left(), 2s);
}

TEST_F(WaitBudgetTest, SeveralWaitsAddUp) {
  EXPECT_TRUE(bears(1000ms));
  EXPECT_EQ(patience.left(), 1000ms);
  EXPECT_TRUE(bears(900ms));
  EXPECT_EQ(patience.left(), 130ms);  // a thirtieth of the second wait has come back
  EXPECT_FALSE(bears(200ms));
  EXPECT_EQ(patience.left(), patience.prompt());
}

TEST_F(WaitBudgetTest, PromptAnswersCostNothingHoweverManyThereAre) {
  for (int i = 0; i < 100000; ++i) ASSERT_TRUE(bears(100ms)) << i;
  EXPECT_EQ(patience.left(), 2s);
}

TEST_F(WaitBudgetTest, APeerThatIsSlowNowAndThenIsBorneForWeeks) {
  for (int i = 0; i < 20000; ++i) {
    ASSERT_TRUE(bears(1500ms)) << i;
    clock->advance(1min);
  }
  clock->advance(1h);
  EXPECT_EQ(patience.left(), 2s);
}

}  // namespace
}  // namespace wevora::platform
