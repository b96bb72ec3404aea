#include "Platform/IPC/NotificationQueue.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

void add(NotificationQueue& waiting, const std::string& name, const std::string& text = "") {
  waiting.add(name, VariantPtr(g_variant_ref_sink(g_variant_new("(s)", text.c_str()))));
}

/// All that waits, as "name text".
std::vector<std::string> taken(NotificationQueue& waiting) {
  std::vector<std::string> all;
  while (const auto one = waiting.take()) {
    const gchar* text = nullptr;
    g_variant_get(one->arguments.get(), "(&s)", &text);
    all.push_back(one->name + " " + text);
  }
  return all;
}

using Texts = std::vector<std::string>;

TEST(NotificationQueueTest, BelowTheLimitsEachIsToldEvenWhereItSaysTheSame) {
  NotificationQueue waiting({.count = 4});
  for (const char* text : {"a", "a", "b", "a"}) add(waiting, "Event", text);
  EXPECT_EQ(taken(waiting), (Texts{"Event a", "Event a", "Event b", "Event a"}));
}

TEST(NotificationQueueTest, BeyondThemWhatSaysTheSameAsOneThatWaitsIsToldOnce) {
  NotificationQueue waiting({.count = 3});
  for (const char* text : {"a", "b", "c"}) add(waiting, "Event", text);
  for (int i = 0; i < 1000; ++i)
    for (const char* text : {"b", "c", "a"}) add(waiting, "Event", text);
  EXPECT_EQ(taken(waiting), (Texts{"Event a", "Event b", "Event c"}));
  // Once it has been told, the same is news again.
  for (const char* text : {"a", "b", "c", "c"}) add(waiting, "Event", text);
  EXPECT_EQ(taken(waiting), (Texts{"Event a", "Event b", "Event c"}));
}

TEST(NotificationQueueTest, BeyondThemAnotherTakesThePlaceOfTheOldestOfItsName) {
  NotificationQueue waiting({.count = 4});
  add(waiting, "Account");
  for (int i = 0; i < 1000; ++i) add(waiting, "Event", std::to_string(i));
  EXPECT_EQ(waiting.count(), 4U);
  EXPECT_EQ(taken(waiting), (Texts{"Account ", "Event 997", "Event 998", "Event 999"}));
}

TEST(NotificationQueueTest, AFloodOfOneNameNeverCostsAnotherItsLastWord) {
  NotificationQueue waiting({.count = 4});
  for (int i = 0; i < 10; ++i) add(waiting, "Event", std::to_string(i));
  add(waiting, "Account");
  add(waiting, "Status");
  for (int i = 10; i < 20; ++i) add(waiting, "Event", std::to_string(i));
  EXPECT_EQ(taken(waiting), (Texts{"Account ", "Status ", "Event 18", "Event 19"}));
}

TEST(NotificationQueueTest, TheirBytesAreLimitedTooButOneAloneMayBeLarger) {
  NotificationQueue waiting({.count = 1000, .bytes = 1000});
  for (int i = 0; i < 100; ++i) add(waiting, "Event", std::string(199, char('a' + i % 26)));
  EXPECT_EQ(waiting.count(), 5U);
  add(waiting, "Event", std::string(5000, 'x'));
  EXPECT_EQ(taken(waiting), Texts{"Event " + std::string(5000, 'x')});
  add(waiting, "Event", "after it");
  EXPECT_EQ(taken(waiting), Texts{"Event after it"});
}

}  // namespace
}  // namespace wevora::platform
