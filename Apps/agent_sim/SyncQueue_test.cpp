#include "Apps/agent_sim/SyncQueue.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/VirtualClock.h"

namespace wevora::agent_sim {
namespace {

using namespace std::chrono_literals;
using platform::Date;
using Texts = std::vector<std::string>;

class SyncQueueTest : public testing::Test {
 protected:
  platform::VirtualClock clock;
  SyncQueue queue{clock, 10};
};

TEST_F(SyncQueueTest, TheOldestFileIsFirst) {
  queue.add("/new", Date{300});
  queue.add("/old", Date{100});
  queue.add("/middle", Date{200});
  queue.add("/middle too", Date{200});
  clock.advance(400ms);
  EXPECT_EQ(queue.take(), (Texts{"/old", "/middle", "/middle too", "/new"}));
}

TEST_F(SyncQueueTest, FilesBecomeDueAtTheRateAndNotAtOnce) {
  for (int i = 0; i < 100; ++i) queue.add("/" + std::to_string(i), Date{0});
  EXPECT_TRUE(queue.take().empty());
  EXPECT_EQ(queue.untilDue(), 100ms);
  std::size_t taken = 0;
  for (int i = 0; i < 100; ++i, clock.advance(10ms)) taken += queue.take().size();
  EXPECT_EQ(taken, 9U);
  EXPECT_EQ(queue.take().size(), 1U);
}

TEST_F(SyncQueueTest, AFileThatChangesWhileQueuedKeepsItsPlace) {
  queue.add("/a", Date{100});
  queue.add("/b", Date{200});
  queue.add("/a", Date{300});
  clock.advance(100ms);
  EXPECT_EQ(queue.take(), Texts{"/a"});
  EXPECT_EQ(queue.size(), 1U);
}

TEST_F(SyncQueueTest, ADeletedFileIsNotBackedUp) {
  for (const auto* path : {"/f/a", "/f/sub/b", "/f", "/f b/c", "/g"}) queue.add(path, Date{0});
  queue.removeBelow("/f");
  queue.remove("/g");
  queue.remove("/unknown");
  clock.advance(1s);
  EXPECT_EQ(queue.take(), (Texts{"/f", "/f b/c"}));
  EXPECT_FALSE(queue.untilDue());
}

TEST_F(SyncQueueTest, NothingIsDueWhileItIsHeld) {
  queue.add("/a", Date{0});
  queue.hold(true);
  clock.advance(10s);
  EXPECT_FALSE(queue.untilDue());
  EXPECT_TRUE(queue.take().empty());
  queue.hold(false);
  EXPECT_EQ(queue.untilDue(), 100ms);
}

TEST_F(SyncQueueTest, ARateOfZeroNeverBacksUp) {
  SyncQueue never(clock, 0);
  never.add("/a", Date{0});
  clock.advance(std::chrono::hours(1));
  EXPECT_FALSE(never.untilDue());
  EXPECT_TRUE(never.take().empty());
}

TEST_F(SyncQueueTest, AProcessThatWasStoppedCatchesUpForOneSecond) {
  for (int i = 0; i < 100; ++i) queue.add("/" + std::to_string(i), Date{0});
  clock.advance(std::chrono::hours(1));
  EXPECT_EQ(queue.take().size(), 11U);
}

}  // namespace
}  // namespace wevora::agent_sim
