#include "Platform/IPC/NotificationQueue.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

void add(NotificationQueue& queue, const std::string& name, const std::string& text = "") {
  queue.add(name, VariantPtr(g_variant_ref_sink(g_variant_new("(s)", text.c_str()))));
}

/// Removes all entries; returns each as "name text".
std::vector<std::string> takeAll(NotificationQueue& queue) {
  std::vector<std::string> all;
  while (const auto one = queue.take()) {
    const gchar* text = nullptr;
    g_variant_get(one->arguments.get(), "(&s)", &text);
    all.push_back(one->name + " " + text);
  }
  return all;
}

using Texts = std::vector<std::string>;

TEST(NotificationQueueTest, WithinTheLimitsDuplicatesAreKept) {
  NotificationQueue queue({.count = 4});
  for (const char* text : {"a", "a", "b", "a"}) add(queue, "Event", text);
  EXPECT_EQ(takeAll(queue), (Texts{"Event a", "Event a", "Event b", "Event a"}));
}

TEST(NotificationQueueTest, BeyondTheLimitsDuplicatesAreDropped) {
  NotificationQueue queue({.count = 3});
  for (const char* text : {"a", "b", "c"}) add(queue, "Event", text);
  for (int i = 0; i < 1000; ++i)
    for (const char* text : {"b", "c", "a"}) add(queue, "Event", text);
  EXPECT_EQ(takeAll(queue), (Texts{"Event a", "Event b", "Event c"}));
  // A notification that has been taken is no longer a duplicate.
  for (const char* text : {"a", "b", "c", "c"}) add(queue, "Event", text);
  EXPECT_EQ(takeAll(queue), (Texts{"Event a", "Event b", "Event c"}));
}

TEST(NotificationQueueTest, BeyondTheLimitsANewOneReplacesTheOldestOfItsName) {
  NotificationQueue queue({.count = 4});
  add(queue, "Account");
  for (int i = 0; i < 1000; ++i) add(queue, "Event", std::to_string(i));
  EXPECT_EQ(queue.count(), 4U);
  EXPECT_EQ(takeAll(queue), (Texts{"Account ", "Event 997", "Event 998", "Event 999"}));
}

TEST(NotificationQueueTest, AFloodOfOneNameNeverEvictsTheLatestOfAnother) {
  NotificationQueue queue({.count = 4});
  for (int i = 0; i < 10; ++i) add(queue, "Event", std::to_string(i));
  add(queue, "Account");
  add(queue, "Status");
  for (int i = 10; i < 20; ++i) add(queue, "Event", std::to_string(i));
  EXPECT_EQ(takeAll(queue), (Texts{"Account ", "Status ", "Event 18", "Event 19"}));
}

TEST(NotificationQueueTest, BytesAreLimitedButASingleEntryMayBeLarger) {
  NotificationQueue queue({.count = 1000, .bytes = 1000});
  for (int i = 0; i < 100; ++i) add(queue, "Event", std::string(199, char('a' + i % 26)));
  EXPECT_EQ(queue.count(), 5U);
  add(queue, "Event", std::string(5000, 'x'));
  EXPECT_EQ(takeAll(queue), Texts{"Event " + std::string(5000, 'x')});
  add(queue, "Event", "after it");
  EXPECT_EQ(takeAll(queue), Texts{"Event after it"});
}

}  // namespace
}  // namespace wevora::platform
