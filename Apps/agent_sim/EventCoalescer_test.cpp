#include "Apps/agent_sim/EventCoalescer.h"

#include <gtest/gtest.h>

#include "Tests/Doubles/VirtualClock.h"

namespace wevora::agent_sim {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

class EventCoalescerTest : public testing::Test {
 protected:
  platform::VirtualClock clock;
  EventCoalescer events{clock};
};

TEST_F(EventCoalescerTest, AnEventAfterAnIdleTimeIsDueAtOnce) {
  EXPECT_FALSE(events.untilDue());
  EXPECT_FALSE(events.take());
  events.add("/a", kEventCreated);
  EXPECT_EQ(events.untilDue(), 0ns);
  EXPECT_EQ(events.take()->paths, Texts{"/a"});
  EXPECT_FALSE(events.take());
}

TEST_F(EventCoalescerTest, ManyEventsMakeFiveBatchesASecond) {
  int batches = 0;
  std::size_t paths = 0;
  for (int i = 0; i < 1000; ++i, clock.advance(1ms)) {
    events.add("/" + std::to_string(i), kEventChanged);
    if (const auto batch = events.take()) {
      ++batches;
      paths += batch->paths.size();
    }
  }
  EXPECT_EQ(batches, 5);
  EXPECT_EQ(paths, 801U);
  EXPECT_EQ(events.untilDue(), 0ns);
  EXPECT_EQ(events.take()->paths.size(), 199U);
}

TEST_F(EventCoalescerTest, PathsAndWordsAreUniqueInABatch) {
  events.add("/a", kEventRemoved);
  events.add("/b", kEventRemoved);
  events.add("/a", kEventRemoved);
  events.add("/a", kEventCreated);
  const auto batch = events.take();
  ASSERT_TRUE(batch);
  EXPECT_EQ(batch->paths, (Texts{"/a", "/b"}));
  EXPECT_EQ(batch->words, (Texts{"Removed", "Created"}));
}

TEST_F(EventCoalescerTest, ARepeatedEventIsBatchedAgain) {
  events.add("/a", kEventChanged);
  events.take();
  events.add("/a", kEventChanged);
  EXPECT_EQ(events.untilDue(), 200ms);
  clock.advance(200ms);
  EXPECT_EQ(events.take()->paths, Texts{"/a"});
}

TEST_F(EventCoalescerTest, ABatchHasALimitedSize) {
  for (int i = 0; i < 5000; ++i) events.add("/" + std::to_string(i), kEventCreated);
  EXPECT_EQ(events.take()->paths.size(), 4096U);
  EXPECT_FALSE(events.take());
  clock.advance(200ms);
  EXPECT_EQ(events.take()->paths.size(), 904U);
}

}  // namespace
}  // namespace wevora::agent_sim
